#include "common/hidden_input.h"

#include <fcntl.h>
#include <kelp/util/descriptor.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace kelp::tools {

namespace {

using util::Descriptor;

volatile sig_atomic_t lastSignal = 0;

/// While it exists, signals that would end the program only interrupt the wait for input, so that
/// the terminal can be restored first. Between the waits the signals are blocked, so a signal that
/// comes just before a wait is not missed.
class InterruptedReading {
  public:
    InterruptedReading() {
        sigset_t held;
        ::sigemptyset(&held);
        for (const int signal : kSignals)
            ::sigaddset(&held, signal);
        ::pthread_sigmask(SIG_BLOCK, &held, &maskBefore_);
        struct sigaction action = {};
        action.sa_handler = [](int signal) { lastSignal = signal; };
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            ::sigaction(kSignals[i], &action, &before_[i]);
    }
    ~InterruptedReading() {
        // deliver the pending signals while their handler is still the harmless one
        while (::ppoll(nullptr, 0, &kAtOnce, &maskBefore_) < 0) {
        }
        for (std::size_t i = 0; i < kSignals.size(); ++i)
            ::sigaction(kSignals[i], &before_[i], nullptr);
        ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
    }
    InterruptedReading(const InterruptedReading&) = delete;
    InterruptedReading& operator=(const InterruptedReading&) = delete;

    /// Wait for input. Returns false when a signal came first or the wait failed; errno says which.
    bool awaitInput(int fd) const {
        pollfd waiting{fd, POLLIN, 0};
        return ::ppoll(&waiting, 1, nullptr, &maskBefore_) > 0;
    }

  private:
    static constexpr std::array kSignals{SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGTSTP};
    static constexpr timespec kAtOnce{0, 0};
    std::array<struct sigaction, kSignals.size()> before_{};
    sigset_t maskBefore_{};
};

class WithoutEcho {
  public:
    explicit WithoutEcho(int terminal) : terminal_(terminal) {
        if (::tcgetattr(terminal_, &before_) != 0)
            throw std::runtime_error("the terminal cannot be switched to hidden input");
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= ECHONL;
        ::tcsetattr(terminal_, TCSAFLUSH, &silent);
    }
    ~WithoutEcho() { ::tcsetattr(terminal_, TCSAFLUSH, &before_); }
    WithoutEcho(const WithoutEcho&) = delete;
    WithoutEcho& operator=(const WithoutEcho&) = delete;

  private:
    const int terminal_;
    termios before_{};
};

/// Read up to the line end or the end of the input. `mayRead` is called before each byte. Returns
/// false when reading was interrupted or failed; errno says why.
template <class MayRead>
bool readLine(int fd, Secret& line, MayRead mayRead) {
    char next = 0;
    while (line.text().size() < Secret::kBytesMax) {
        if (!mayRead())
            return false;
        const ssize_t got = ::read(fd, &next, 1);
        if (got < 0)
            return false;
        if (got == 0 || next == '\n')
            break;
        if (next != '\r')
            line.append(next);
    }
    return true;
}

Secret ask(int terminal, const InterruptedReading& reading, const std::string& prompt) {
    [[maybe_unused]] const ssize_t written = ::write(terminal, prompt.data(), prompt.size());
    Secret line;
    if (!readLine(terminal, line, [&] { return reading.awaitInput(terminal); })) {
        if (errno == EINTR)
            throw InputInterrupted(lastSignal);
        throw std::runtime_error("the terminal cannot be read");
    }
    return line;
}

}  // namespace

std::vector<Secret> askHidden(const std::vector<std::string>& prompts) {
    const Descriptor terminal(::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (!terminal.isOpen())
        throw std::runtime_error(
            "there is no terminal to ask for the password; use --password-file");
    const InterruptedReading interrupted;
    const WithoutEcho silent(terminal.get());
    std::vector<Secret> answers;
    answers.reserve(prompts.size());
    for (const std::string& prompt : prompts)
        answers.push_back(ask(terminal.get(), interrupted, prompt));
    return answers;
}

Secret firstLineOf(const std::string& file, bool& othersCanRead) {
    const Descriptor input(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    Secret line;
    struct stat status = {};
    if (!input.isOpen() || ::fstat(input.get(), &status) != 0 ||
        !readLine(input.get(), line, [] { return true; }))
        throw std::runtime_error("password file " + file + ": " +
                                 std::generic_category().message(errno));
    othersCanRead = S_ISREG(status.st_mode) && (status.st_mode & (S_IRGRP | S_IROTH)) != 0;
    return line;
}

}  // namespace kelp::tools
