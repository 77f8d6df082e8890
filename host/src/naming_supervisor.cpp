#include "naming_supervisor.h"

#include "child_process.h"
#include "giop_probe.h"

#include <kelp/corbabase/trace.h>
#include <kelp/orb/references.h>

#include <signal.h>
#include <sodium.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

namespace kelp::host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kProbeLimit = std::chrono::milliseconds(500);
constexpr auto kProbePause = std::chrono::milliseconds(20);
/// The service says little; a log this long is old news.
constexpr std::uintmax_t kLogBytesMax = 1 << 20;
constexpr const char* kTlsTransport = "libomnisslTP4.so.2";

void trace(int line, const std::string& text) {
    NS_CORBA::GetTss()->Set("namingsupervisor", "unknown", line);
    NS_CORBA::TaTrace("%s", text.c_str());
}

/// A hash of what the files hold: the key itself is not to lie about in memory.
std::string fingerprintOf(const orb::TlsFiles& files) {
    std::ostringstream all;
    for (const std::string& name : {files.caFile, files.keyFile}) {
        const std::ifstream in(name);
        all << in.rdbuf() << '\n';
    }
    all << files.keyPassword;
    std::string contents = all.str();
    std::string hash(crypto_generichash_BYTES, '\0');
    crypto_generichash(reinterpret_cast<unsigned char*>(hash.data()), hash.size(),
                       reinterpret_cast<const unsigned char*>(contents.data()), contents.size(), nullptr, 0);
    sodium_memzero(contents.data(), contents.size());
    return hash;
}

void tellToEnd(pid_t child) {
    ::kill(child, SIGTERM);
    ::kill(child, SIGCONT);  // a stopped process takes no other signal
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

bool NamingSupervisor::renewTls(const NamingTls& tls, std::string& whyNot) {
    const std::string fingerprint = fingerprintOf(tls.files);
    const std::lock_guard lock(mutex_);
    if (stopping_ || fingerprint == tlsFingerprint_)
        return true;
    NamingSettings renewed = settings_;
    renewed.tls = tls;
    if (!writeOrbOptions(renewed, optionsFile(), whyNot))
        return false;
    settings_.tls = tls;
    trace(__LINE__, "the naming service is started again, with the new certificates");
    if (child_ >= 0) {
        isRenewed_ = true;
        tellToEnd(child_);
    }
    return true;
}

void NamingSupervisor::stop() {
    if (!thread_.joinable())
        return;
    endChild();
    thread_.join();
    std::error_code ignored;
    std::filesystem::remove(optionsFile(), ignored);
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
    return portsAreFree(settings_, whyNot) && writeOrbOptions(settings_, optionsFile(), whyNot);
}

std::filesystem::path NamingSupervisor::optionsFile() const {
    return settings_.dataDirectory / "omniorb.cfg";
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
        if (std::exchange(isRenewed_, false))
            continue;
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
    ChildSettings child;
    child.program = program_;
    child.arguments = {"-always",
                       "-start",
                       std::to_string(portsOf(settings_).front()),
                       "-datadir",
                       settings_.dataDirectory.string(),
                       "-nohostname",
                       "-ORBconfigFile",
                       optionsFile().string()};
    // the service has an endpoint of its own choice unless the command line names one
    for (const std::string& endpoint : endpointsOf(settings_))
        child.arguments.insert(child.arguments.end(), {"-ORBendPoint", endpoint});
    if (settings_.tls) {
        child.environment = {"LD_PRELOAD=" + std::string(kTlsTransport)};  // omniNames is not linked with it
        tlsFingerprint_ = fingerprintOf(settings_.tls->files);
    }
    child.logFile = logFile();
    const pid_t process = startChild(child, whyNot);
    if (process >= 0)
        trace(__LINE__, "the naming service is process " + std::to_string(process));
    return process;
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
        const bool answered = answers();
        std::unique_lock lock(mutex_);
        if (finished_) {
            const std::string said = lastLine(logFile());
            whyNot =
                "the naming service did not start (" + firstEnd_ + ")" + (said.empty() ? "" : ": " + said);
            return false;
        }
        if (answered) {
            answered_ = true;
            return true;
        }
        if (Clock::now() >= deadline) {
            whyNot = "the naming service does not answer on " +
                     orb::hostAndPort({settings_.host, portsOf(settings_).front(), false});
            return false;
        }
        changed_.wait_for(lock, kProbePause, [this] { return finished_; });
    }
}

/// Whether the service works; over TLS, which this process does not speak itself, whether it listens.
bool NamingSupervisor::answers() const {
    if (settings_.tls && !portAccepts(settings_.host, settings_.tls->port, kProbeLimit))
        return false;
    return !settings_.port || objectAnswers(settings_.host, *settings_.port, "NameService", kProbeLimit);
}

void NamingSupervisor::endChild() {
    std::unique_lock lock(mutex_);
    stopping_ = true;
    changed_.notify_all();
    if (child_ >= 0)
        tellToEnd(child_);
    if (changed_.wait_for(lock, settings_.stopLimit, [this] { return finished_; }))
        return;
    trace(__LINE__, "the naming service does not end, so it is killed");
    if (child_ >= 0)
        ::kill(child_, SIGKILL);
}

}  // namespace kelp::host
