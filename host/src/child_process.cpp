#include "child_process.h"

#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <system_error>

namespace kelp::host {

namespace {

using util::Descriptor;

std::string reason(const std::string& doing, int problem) {
    return doing + ": " + std::generic_category().message(problem);
}

/// Between fork and exec: only calls that are safe there. Ends the process; the parent reads errno from
/// `failed`.
[[noreturn]] void becomeProgram(char* const* arguments, char* const* environment, int log, int failed,
                                pid_t parent) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(1);  // the parent ended before it could be watched
    sigset_t none;
    sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    ::signal(SIGPIPE, SIG_DFL);
    const int empty = ::open("/dev/null", O_RDONLY);
    ::dup2(empty, STDIN_FILENO);
    ::dup2(log, STDOUT_FILENO);
    ::dup2(log, STDERR_FILENO);
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    ::execve(arguments[0], arguments, environment);
    const int problem = errno;
    (void)!::write(failed, &problem, sizeof problem);
    ::_exit(127);
}

/// The texts as exec takes them, with a null at the end; valid as long as they are.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

std::filesystem::path findProgram(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(std::string(path == nullptr ? "" : path) +
                               ":/usr/bin:/usr/sbin:/usr/local/bin");
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::filesystem::path program = std::filesystem::path(folder) / name;
        if (!folder.empty() && ::access(program.c_str(), X_OK) == 0)
            return program;
    }
    return {};
}

pid_t startChild(const ChildSettings& settings, std::string& whyNot) {
    const Descriptor log(::open(settings.logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0640));
    if (!log.isOpen()) {
        whyNot = reason("cannot open " + settings.logFile.string(), errno);
        return -1;
    }
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        whyNot = reason("cannot make a pipe", errno);
        return -1;
    }
    const Descriptor failedReading(ends[0]);
    Descriptor failedWriting(ends[1]);

    std::vector<std::string> words = settings.arguments;
    words.insert(words.begin(), settings.program.string());
    std::vector<std::string> variables = settings.environment;
    for (char** each = environ; *each != nullptr; ++each)
        variables.emplace_back(*each);
    const std::vector<char*> arguments = pointersTo(words);
    const std::vector<char*> environment = pointersTo(variables);

    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0)
        becomeProgram(arguments.data(), environment.data(), log.get(), failedWriting.get(), parent);
    if (child < 0) {
        whyNot = reason("cannot make a process", errno);
        return -1;
    }
    failedWriting.close();
    int problem = 0;
    if (::read(failedReading.get(), &problem, sizeof problem) > 0) {
        ::waitpid(child, nullptr, 0);
        whyNot = reason("cannot run " + settings.program.string(), problem);
        return -1;
    }
    return child;
}

std::string endInWords(int status) {
    if (WIFSIGNALED(status))
        return "signal " + std::to_string(WTERMSIG(status)) + " (" + ::strsignal(WTERMSIG(status)) + ")";
    return "exit code " + std::to_string(WEXITSTATUS(status));
}

}  // namespace kelp::host
