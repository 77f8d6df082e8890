#include "naming_supervisor.h"

#include "child_process.h"
#include "descriptor.h"
#include "giop_probe.h"

#include <kelp/corbabase/trace.h>
#include <kelp/orb/references.h>

#include <netdb.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <memory>
#include <system_error>
#include <utility>

namespace kelp::host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kProbeLimit = std::chrono::milliseconds(500);
constexpr auto kProbePause = std::chrono::milliseconds(20);
/// The service says little; a log this long is old news.
constexpr std::uintmax_t kLogBytesMax = 1 << 20;

void trace(int line, const std::string& text) {
    NS_CORBA::GetTss()->Set("namingsupervisor", "unknown", line);
    NS_CORBA::TaTrace("%s", text.c_str());
}

/// 0, or why nobody can listen on the address now.
int listenProblem(const std::string& host, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    addrinfo* found = nullptr;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        return EADDRNOTAVAIL;
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> addresses(found, &::freeaddrinfo);
    const Descriptor socket(::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (::bind(socket.get(), found->ai_addr, found->ai_addrlen) != 0 || ::listen(socket.get(), 1) != 0)
        return errno;
    return 0;
}

std::string lastLine(const std::filesystem::path& file) {
    std::ifstream in(file);
    std::string last;
    for (std::string line; std::getline(in, line);) {
        if (!line.empty())
            last = line;
    }
    return last;
}

}  // namespace

NamingSupervisor::NamingSupervisor(NamingSettings settings) : settings_(std::move(settings)) {}

NamingSupervisor::~NamingSupervisor() {
    stop();
}

bool NamingSupervisor::start(std::string& whyNot) {
    if (!prepare(whyNot))
        return false;
    thread_ = std::thread([this] { supervise(); });
    if (awaitAnswer(whyNot))
        return true;
    stop();
    return false;
}

void NamingSupervisor::stop() {
    if (!thread_.joinable())
        return;
    endChild();
    thread_.join();
}

pid_t NamingSupervisor::pid() const {
    const std::lock_guard lock(mutex_);
    return child_;
}

std::filesystem::path NamingSupervisor::logFile() const {
    return settings_.dataDirectory / "omninames.err";
}

bool NamingSupervisor::prepare(std::string& whyNot) {
    program_ = findProgram(settings_.program);
    if (program_.empty()) {
        whyNot = settings_.program + " is not installed (Debian package omniorb-nameserver)";
        return false;
    }
    std::error_code problem;
    std::filesystem::create_directories(settings_.dataDirectory, problem);
    if (problem) {
        whyNot = "cannot make the folder " + settings_.dataDirectory.string() + ": " + problem.message();
        return false;
    }
    if (const int error = listenProblem(settings_.host, settings_.port); error != 0) {
        const std::string address = orb::hostAndPort({settings_.host, settings_.port, false});
        whyNot = error == EADDRINUSE
                     ? address +
                           " is in use by another process; choose another [naming] port, or set [naming] "
                           "embedded = false to use the naming service that runs there"
                     : "cannot listen on " + address + ": " + std::generic_category().message(error);
        return false;
    }
    return true;
}

void NamingSupervisor::supervise() {
    auto pause = settings_.firstPause;
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        const auto begin = Clock::now();
        std::string how;
        child_ = spawn(how);
        if (const pid_t child = child_; child >= 0) {
            lock.unlock();
            how = waitForEnd(child);
            lock.lock();
        }
        if (!answered_)
            firstEnd_ = how;
        if (stopping_ || !answered_)
            break;
        if (Clock::now() - begin >= settings_.longestPause)
            pause = settings_.firstPause;
        trace(__LINE__, "the naming service has ended (" + how + "), starting it again in " +
                            std::to_string(pause.count()) + " ms");
        changed_.wait_for(lock, pause, [this] { return stopping_; });
        pause = std::min(pause * 2, settings_.longestPause);
    }
    finished_ = true;
    changed_.notify_all();
}

/// Called with the mutex locked, so that a stop sees either no child or one that it can end.
pid_t NamingSupervisor::spawn(std::string& whyNot) {
    std::error_code ignored;
    if (std::filesystem::file_size(logFile(), ignored) > kLogBytesMax && !ignored)
        std::filesystem::rename(logFile(), logFile().string() + ".old", ignored);
    const std::string port = std::to_string(settings_.port);
    const std::string endpoint = "giop:tcp:" + orb::hostAndPort({settings_.host, settings_.port, false});
    const pid_t child = startChild(program_,
                                   {"-always", "-start", port, "-datadir", settings_.dataDirectory.string(),
                                    "-nohostname", "-ORBendPoint", endpoint},
                                   logFile(), whyNot);
    if (child >= 0)
        trace(__LINE__, "the naming service is process " + std::to_string(child));
    return child;
}

/// Waits for the child's end and says how it came about. It is reaped under the mutex, so that nobody signals
/// a number that is another process's by then.
std::string NamingSupervisor::waitForEnd(pid_t child) {
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    const std::lock_guard lock(mutex_);
    int status = 0;
    ::waitpid(child, &status, 0);
    child_ = -1;
    return endInWords(status);
}

bool NamingSupervisor::awaitAnswer(std::string& whyNot) {
    const auto deadline = Clock::now() + settings_.answerLimit;
    for (;;) {
        const bool answers = objectAnswers(settings_.host, settings_.port, "NameService", kProbeLimit);
        std::unique_lock lock(mutex_);
        if (finished_) {
            const std::string said = lastLine(logFile());
            whyNot =
                "the naming service did not start (" + firstEnd_ + ")" + (said.empty() ? "" : ": " + said);
            return false;
        }
        if (answers) {
            answered_ = true;
            return true;
        }
        if (Clock::now() >= deadline) {
            whyNot = "the naming service does not answer on " +
                     orb::hostAndPort({settings_.host, settings_.port, false});
            return false;
        }
        changed_.wait_for(lock, kProbePause, [this] { return finished_; });
    }
}

void NamingSupervisor::endChild() {
    std::unique_lock lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
    if (child_ >= 0) {
        ::kill(child_, SIGTERM);
        ::kill(child_, SIGCONT);  // a stopped process takes no other signal
    }
    if (changed_.wait_for(lock, settings_.stopLimit, [this] { return finished_; }))
        return;
    trace(__LINE__, "the naming service does not end, so it is killed");
    if (child_ >= 0)
        ::kill(child_, SIGKILL);
}

}  // namespace kelp::host
