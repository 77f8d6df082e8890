#include "harness/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "harness/scratch_dir.h"

extern char** environ;

namespace kelp::test {

namespace {

struct Pipe {
    Pipe() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        reading = Socket(ends[0]);
        writing = Socket(ends[1]);
    }
    Socket reading;
    Socket writing;
};

Socket openForAppending(const std::filesystem::path& file) {
    const std::filesystem::path& target = file.empty() ? std::filesystem::path("/dev/null") : file;
    Socket opened(::open(target.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0640));
    if (opened.fd() < 0)
        throw std::runtime_error("cannot write " + target.string());
    return opened;
}

/// Return the texts as the null-terminated array of pointers that exec takes.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentWith(const std::map<std::string, std::string>& added) {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        if (added.count(text.substr(0, text.find('='))) == 0)
            all.push_back(text);
    }
    for (const auto& [name, value] : added)
        all.push_back(name + "=" + value);
    return all;
}

/// Runs between fork and exec, where only async-signal-safe calls are allowed.
[[noreturn]] void becomeProgram(char* const* arguments, char* const* environment, int in, int out,
                                int err, pid_t parent) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(127);
    ::signal(SIGPIPE, SIG_DFL);
    ::dup2(in, STDIN_FILENO);
    ::dup2(out, STDOUT_FILENO);
    ::dup2(err, STDERR_FILENO);
    ::execve(arguments[0], arguments, environment);
    ::_exit(127);
}

}  // namespace

ChildProcess::ChildProcess(const Launch& launch) {
    if (::access(launch.program.c_str(), X_OK) != 0)
        throw std::runtime_error("cannot run " + launch.program.string());
    std::vector<std::string> words = launch.arguments;
    words.insert(words.begin(), launch.program.string());
    std::vector<std::string> settings = environmentWith(launch.environment);
    const std::vector<char*> arguments = pointersTo(words);
    const std::vector<char*> environment = pointersTo(settings);
    const Socket log = openForAppending(launch.output);
    Pipe toChild;
    Pipe fromChild;

    const pid_t parent = ::getpid();
    pid_ = ::fork();
    if (pid_ == 0)
        becomeProgram(arguments.data(), environment.data(), toChild.reading.fd(),
                      launch.piped ? fromChild.writing.fd() : log.fd(), log.fd(), parent);
    if (pid_ < 0)
        throw std::runtime_error("cannot make a process");
    ::setpgid(pid_, pid_);
    if (launch.piped) {
        ::signal(SIGPIPE,
                 SIG_IGN);  // writing to a killed process must return an error, not end the test
        input_ = std::move(toChild.writing);
        output_ = std::move(fromChild.reading);
    }
}

ChildProcess::~ChildProcess() {
    kill();
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : pid_(std::exchange(other.pid_, -1)),
      exitCode_(other.exitCode_),
      input_(std::move(other.input_)),
      output_(std::move(other.output_)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    std::swap(pid_, other.pid_);
    std::swap(exitCode_, other.exitCode_);
    std::swap(input_, other.input_);
    std::swap(output_, other.output_);
    return *this;
}

void ChildProcess::signal(int number) const {
    if (pid_ > 0 && !exitCode_)
        ::kill(pid_, number);
}

void ChildProcess::freeze() const {
    signal(SIGSTOP);
}

void ChildProcess::thaw() const {
    signal(SIGCONT);
}

void ChildProcess::kill() {
    if (!isRunning())
        return;
    ::kill(-pid_, SIGKILL);
    ::kill(pid_, SIGKILL);
    (void)waitExit();
}

bool ChildProcess::isRunning() {
    if (pid_ < 0 || exitCode_)
        return false;
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) != pid_)
        return true;
    exitCode_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return false;
}

std::optional<int> ChildProcess::waitExit(std::chrono::milliseconds deadline) {
    eventually([this] { return !isRunning(); }, deadline);
    return exitCode_;
}

int runToEnd(const Launch& launch, std::chrono::milliseconds deadline) {
    ChildProcess process(launch);
    const std::optional<int> exitCode = process.waitExit(deadline);
    if (!exitCode)
        throw std::runtime_error(launch.program.string() + " does not end");
    return *exitCode;
}

std::vector<pid_t> processesWith(const std::string& name, const std::string& value) {
    const std::string wanted = '\0' + name + "=" + value + '\0';
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string id = entry.path().filename();
        if (id.find_first_not_of("0123456789") != std::string::npos)
            continue;
        if (('\0' + contentOf(entry.path() / "environ")).find(wanted) != std::string::npos)
            found.push_back(static_cast<pid_t>(std::stol(id)));
    }
    return found;
}

}  // namespace kelp::test
