#pragma once

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelp::test {

/// A program that runs on a separate terminal, at which the test types. The destructor kills it.
class PseudoTerminal {
  public:
    PseudoTerminal(std::vector<std::string> command, unsigned short columns = 80,
                   const std::map<std::string, std::string>& environment = {}) {
        const winsize size{24, columns, 0, 0};
        child_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
        if (child_ == 0) {
            for (const auto& [name, value] : environment)
                ::setenv(name.c_str(), value.c_str(), 1);
            std::vector<char*> arguments;
            for (std::string& word : command)
                arguments.push_back(word.data());
            arguments.push_back(nullptr);
            ::execv(arguments[0], arguments.data());
            ::_exit(127);
        }
        if (child_ < 0)
            throw std::runtime_error("no terminal");
    }
    ~PseudoTerminal() {
        if (!ended_)
            ::kill(child_, SIGKILL);
        status();
        ::close(terminal_);
    }
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    /// Read until the terminal shows the text again, after its previous occurrence. False if it
    /// does not within 30 s.
    bool isShown(const std::string& text) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (shown_.find(text, looked_) == std::string::npos) {
            pollfd readable{terminal_, POLLIN, 0};
            char bytes[256];
            ssize_t got = 0;
            if (std::chrono::steady_clock::now() > end || ::poll(&readable, 1, 1000) < 0 ||
                ((readable.revents & (POLLIN | POLLHUP)) != 0 &&
                 (got = ::read(terminal_, bytes, sizeof bytes)) <= 0))
                return false;
            shown_.append(bytes, static_cast<std::size_t>(got));
        }
        looked_ = shown_.find(text, looked_) + text.size();
        return true;
    }
    bool type(const std::string& text) {
        return ::write(terminal_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }
    bool resize(unsigned short rows, unsigned short columns) {
        const winsize size{rows, columns, 0, 0};
        return ::ioctl(terminal_, TIOCSWINSZ, &size) == 0;
    }
    bool echoes() const {
        termios settings{};
        return ::tcgetattr(terminal_, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    }
    /// Wait for the program's end. Return its exit status, or -1 if a signal ended it.
    int status() {
        int result = 0;
        if (!ended_) {
            ::waitpid(child_, &result, 0);
            ended_ = true;
            exitStatus_ = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
        }
        return exitStatus_;
    }
    /// All output read so far.
    const std::string& shown() const { return shown_; }
    pid_t pid() const { return child_; }

  private:
    int terminal_ = -1;
    pid_t child_ = -1;
    bool ended_ = false;
    int exitStatus_ = -1;
    std::string shown_;
    std::size_t looked_ = 0;
};

}  // namespace kelp::test
