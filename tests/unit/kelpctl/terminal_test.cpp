#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>

#include "kelpctl_fixture.h"
#include "support/wait_until.h"

using kelp::test::KelpctlTest;

namespace {

/// kelpctl at a terminal that the test types at.
class AtTerminal : public KelpctlTest {
  protected:
    ~AtTerminal() override {
        if (child > 0 && !ended)
            ::kill(child, SIGKILL);
        status();
        if (terminal >= 0)
            ::close(terminal);
    }

    void start(const std::string& command, const std::string& user) {
        const std::string config = (folder.path() / "kelp.toml").string();
        child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
        if (child == 0) {
            ::execl(KELPCTL, KELPCTL, "--config", config.c_str(), "user", command.c_str(), user.c_str(),
                    nullptr);
            ::_exit(127);
        }
        ASSERT_GT(child, 0);
    }
    /// Reads until the terminal has shown the text for the next time.
    bool isShown(const std::string& text) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (shown.find(text, looked) == std::string::npos) {
            pollfd readable{terminal, POLLIN, 0};
            char bytes[256];
            ssize_t got = 0;
            if (std::chrono::steady_clock::now() > end || ::poll(&readable, 1, 1000) < 0 ||
                ((readable.revents & (POLLIN | POLLHUP)) != 0 &&
                 (got = ::read(terminal, bytes, sizeof bytes)) <= 0))
                return false;
            shown.append(bytes, static_cast<std::size_t>(got));
        }
        looked = shown.find(text, looked) + text.size();
        return true;
    }
    void type(const std::string& text) {
        ASSERT_EQ(::write(terminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    bool echoes() const {
        termios settings{};
        return ::tcgetattr(terminal, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    }
    /// The exit status, or -1 for a program that a signal ended.
    int status() {
        int result = 0;
        if (child > 0 && !ended) {
            ::waitpid(child, &result, 0);
            ended = true;
            exitStatus = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
        }
        return exitStatus;
    }

    int terminal = -1;
    pid_t child = -1;
    bool ended = false;
    int exitStatus = -1;
    std::string shown;
    std::size_t looked = 0;
};

TEST_F(AtTerminal, ThePasswordIsTypedTwiceAndNeverShown) {
    start("add", "nms1");
    ASSERT_TRUE(isShown("Password: "));
    EXPECT_FALSE(echoes());
    type("hidden word\n");
    ASSERT_TRUE(isShown("Password again: "));
    EXPECT_FALSE(echoes());
    type("hidden word\n");
    EXPECT_TRUE(isShown("user \"nms1\" added"));
    EXPECT_EQ(status(), 0);
    EXPECT_EQ(shown.find("hidden"), std::string::npos) << shown;
    EXPECT_TRUE(hasPassword("nms1", "hidden word"));
}

TEST_F(AtTerminal, TwoDifferentPasswordsChangeNothing) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    start("passwd", "nms1");
    ASSERT_TRUE(isShown("Password: "));
    type("one\n");
    ASSERT_TRUE(isShown("Password again: "));
    type("two\n");
    EXPECT_TRUE(isShown("the two passwords differ"));
    EXPECT_EQ(status(), 1);
    EXPECT_TRUE(hasPassword("nms1", "secret"));
}

TEST_F(AtTerminal, AnEmptyPasswordIsRefused) {
    start("add", "nms1");
    ASSERT_TRUE(isShown("Password: "));
    type("\n");
    ASSERT_TRUE(isShown("Password again: "));
    type("\n");
    EXPECT_TRUE(isShown("the password must not be empty"));
    EXPECT_EQ(status(), 1);
}

TEST_F(AtTerminal, AnInterruptLeavesTheTerminalAsItWas) {
    start("add", "nms1");
    ASSERT_TRUE(isShown("Password: "));
    ASSERT_FALSE(echoes());
    type("\x03");
    EXPECT_TRUE(isShown("interrupted"));
    EXPECT_TRUE(kelp::test::waitUntil([this] { return echoes(); }));
    EXPECT_EQ(status(), 1);
    EXPECT_FALSE(NS_CORBA::UserDatabase(database).find("nms1"));
}

}  // namespace
