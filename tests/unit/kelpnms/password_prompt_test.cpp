#include <gtest/gtest.h>
#include <signal.h>

#include "support/pseudo_terminal.h"
#include "support/tcp_peers.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

/// kelpnms at a terminal, at which the test types. There is not a naming service.
class PasswordPrompt : public testing::Test {
  protected:
    PseudoTerminal terminal_{{KELPNMS, "--naming", "127.0.0.1:" + std::to_string(freePort()),
                              "--user", "demo", "managers"},
                             80,
                             {{"KELPNMS_USER", ""}}};
};

TEST_F(PasswordPrompt, PasswordIsNotShown) {
    ASSERT_TRUE(terminal_.isShown("Password of demo: "));
    EXPECT_FALSE(terminal_.echoes());
    ASSERT_TRUE(terminal_.type("hidden word\n"));
    EXPECT_TRUE(terminal_.isShown("does not answer"));
    EXPECT_EQ(terminal_.status(), 3);
    EXPECT_EQ(terminal_.shown().find("hidden"), std::string::npos) << terminal_.shown();
    EXPECT_TRUE(terminal_.echoes());
}

TEST_F(PasswordPrompt, InterruptLeavesTheTerminalAsItWas) {
    ASSERT_TRUE(terminal_.isShown("Password of demo: "));
    ASSERT_FALSE(terminal_.echoes());
    ASSERT_TRUE(terminal_.type("\x03"));
    EXPECT_TRUE(terminal_.isShown("interrupted"));
    EXPECT_TRUE(waitUntil([this] { return terminal_.echoes(); }));
    EXPECT_EQ(terminal_.status(), 128 + SIGINT);
}

TEST_F(PasswordPrompt, TerminationLeavesTheTerminalAsItWas) {
    ASSERT_TRUE(terminal_.isShown("Password of demo: "));
    ASSERT_FALSE(terminal_.echoes());
    ASSERT_EQ(::kill(terminal_.pid(), SIGTERM), 0);
    EXPECT_TRUE(terminal_.isShown("interrupted"));
    EXPECT_TRUE(waitUntil([this] { return terminal_.echoes(); }));
    EXPECT_EQ(terminal_.status(), 128 + SIGTERM);
}

}  // namespace
}  // namespace kelp::test
