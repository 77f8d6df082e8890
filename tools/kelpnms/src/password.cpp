#include "password.h"

#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iostream>

namespace kelp::nms {

namespace {

/// The terminal without echo for the length of a scope.
class HiddenTyping {
  public:
    HiddenTyping() {
        known_ = ::tcgetattr(STDIN_FILENO, &before_) == 0;
        if (!known_)
            return;
        termios hidden = before_;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    ~HiddenTyping() {
        if (known_)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    }
    HiddenTyping(const HiddenTyping&) = delete;
    HiddenTyping& operator=(const HiddenTyping&) = delete;

  private:
    termios before_{};
    bool known_ = false;
};

std::string fromFile(const std::string& file) {
    std::ifstream in(file);
    std::string line;
    if (!in || !std::getline(in, line))
        throw NoPassword("cannot read a password from " + file);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

std::string fromTerminal(const std::string& user) {
    std::cerr << "Password of " << user << ": " << std::flush;
    std::string line;
    {
        const HiddenTyping hidden;
        std::getline(std::cin, line);
    }
    std::cerr << '\n';
    return line;
}

}  // namespace

std::string readPassword(const std::string& file, const std::string& user) {
    if (!file.empty())
        return fromFile(file);
    if (const char* password = std::getenv("KELPNMS_PASSWORD"); password != nullptr)
        return password;
    if (::isatty(STDIN_FILENO) == 0)
        throw NoPassword("no password: give --password-file or set KELPNMS_PASSWORD");
    return fromTerminal(user);
}

}  // namespace kelp::nms
