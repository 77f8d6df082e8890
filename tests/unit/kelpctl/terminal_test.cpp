#include <optional>

#include "kelpctl_fixture.h"
#include "support/pseudo_terminal.h"
#include "support/wait_until.h"

using kelp::test::KelpctlTest;
using kelp::test::PseudoTerminal;

namespace {

/// kelpctl at a terminal, at which the test types.
class AtTerminal : public KelpctlTest {
  protected:
    void start(const std::string& command, const std::string& user) {
        terminal.emplace(std::vector<std::string>{
            KELPCTL, "--config", (folder.path() / "kelp.toml").string(), "user", command, user});
    }
    bool isShown(const std::string& text) { return terminal->isShown(text); }
    bool type(const std::string& text) { return terminal->type(text); }

    std::optional<PseudoTerminal> terminal;
};

TEST_F(AtTerminal, ThePasswordIsTypedTwiceAndNeverShown) {
    start("add", "nms1");
    ASSERT_TRUE(isShown("Password: "));
    EXPECT_FALSE(terminal->echoes());
    ASSERT_TRUE(type("hidden word\n"));
    ASSERT_TRUE(isShown("Password again: "));
    EXPECT_FALSE(terminal->echoes());
    ASSERT_TRUE(type("hidden word\n"));
    EXPECT_TRUE(isShown("user \"nms1\" added"));
    EXPECT_EQ(terminal->status(), 0);
    EXPECT_EQ(terminal->shown().find("hidden"), std::string::npos) << terminal->shown();
    EXPECT_TRUE(hasPassword("nms1", "hidden word"));
}

TEST_F(AtTerminal, TwoDifferentPasswordsChangeNothing) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    start("passwd", "nms1");
    ASSERT_TRUE(isShown("Password: "));
    ASSERT_TRUE(type("one\n"));
    ASSERT_TRUE(isShown("Password again: "));
    ASSERT_TRUE(type("two\n"));
    EXPECT_TRUE(isShown("the two passwords differ"));
    EXPECT_EQ(terminal->status(), 1);
    EXPECT_TRUE(hasPassword("nms1", "old secret"));
}

TEST_F(AtTerminal, AnEmptyPasswordIsRefused) {
    start("add", "nms1");
    ASSERT_TRUE(isShown("Password: "));
    ASSERT_TRUE(type("\n"));
    ASSERT_TRUE(isShown("Password again: "));
    ASSERT_TRUE(type("\n"));
    EXPECT_TRUE(isShown("the password must not be empty"));
    EXPECT_EQ(terminal->status(), 1);
}

TEST_F(AtTerminal, AnInterruptLeavesTheTerminalAsItWas) {
    start("add", "nms1");
    ASSERT_TRUE(isShown("Password: "));
    ASSERT_FALSE(terminal->echoes());
    ASSERT_TRUE(type("\x03"));
    EXPECT_TRUE(isShown("interrupted"));
    EXPECT_TRUE(kelp::test::waitUntil([this] { return terminal->echoes(); }));
    EXPECT_EQ(terminal->status(), 1);
    EXPECT_FALSE(kelp::users::UserDatabase(database).find("nms1"));
}

}  // namespace
