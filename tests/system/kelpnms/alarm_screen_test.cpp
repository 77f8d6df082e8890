// kelpnms alarms on a terminal.

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <map>

#include "alarms_fixture.h"
#include "support/pseudo_terminal.h"

namespace kelp::test {
namespace {

class KelpnmsAlarmScreen : public AlarmsFixture {
  protected:
    std::vector<std::string> screenCommand() {
        std::vector<std::string> command = commandLine({"--timeout", "5", "alarms"});
        command.insert(command.begin(), KELPNMS);
        return command;
    }
    static constexpr const char* kAltScreenLeft = "\033[?1049l";
    const std::map<std::string, std::string> xterm_ = {{"TERM", "xterm"}, {"NO_COLOR", ""}};
};

TEST_F(KelpnmsAlarmScreen, ShowsAlarmsAcknowledgesAndLeavesTheTerminalAsItWas) {
    startHost();
    raise("NE-1", "major", {"--text", "red \033[31m ink"});
    PseudoTerminal terminal(screenCommand(), 120, xterm_);
    ASSERT_TRUE(terminal.isShown("in step with the EMS")) << terminal.shown();
    ASSERT_TRUE(terminal.isShown("ManagedElement=NE-1")) << terminal.shown();
    EXPECT_TRUE(terminal.isShown("red \\x1B[31m ink")) << terminal.shown();
    EXPECT_FALSE(terminal.echoes());
    ASSERT_TRUE(terminal.type("a"));
    ASSERT_TRUE(terminal.isShown("acknowledged: NE-1")) << terminal.shown();
    EXPECT_TRUE(activeAlarms({"--unacknowledged"})["alarms"].empty());
    raise("NE-2", "critical");
    ASSERT_TRUE(terminal.isShown("ManagedElement=NE-2")) << terminal.shown();
    ASSERT_TRUE(terminal.type("q"));
    ASSERT_TRUE(terminal.isShown(kAltScreenLeft)) << terminal.shown();
    EXPECT_EQ(terminal.status(), 0);
    EXPECT_TRUE(terminal.echoes());
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsAlarmScreen, GetsBackInStepAfterTheHostWasKilled) {
    startHost();
    raise("NE-1", "major");
    PseudoTerminal terminal(screenCommand(), 120, xterm_);
    ASSERT_TRUE(terminal.isShown("in step with the EMS")) << terminal.shown();
    host_.process().kill();
    ASSERT_TRUE(terminal.isShown("NOT CONNECTED")) << terminal.shown();
    host_.start();
    raise("NE-2", "minor");
    ASSERT_TRUE(terminal.isShown("ManagedElement=NE-2")) << terminal.shown();
    ASSERT_TRUE(terminal.resize(30, 60));
    ASSERT_TRUE(terminal.isShown("minor")) << terminal.shown();
    ::kill(terminal.pid(), SIGTERM);
    ASSERT_TRUE(terminal.isShown(kAltScreenLeft)) << terminal.shown();
    EXPECT_EQ(terminal.status(), 0);
}

TEST_F(KelpnmsAlarmScreen, TerminalIsRestoredWhenTheEmsHangs) {
    startHost();
    raise("NE-1", "major");
    PseudoTerminal terminal(screenCommand(), 120, xterm_);
    ASSERT_TRUE(terminal.isShown("in step with the EMS")) << terminal.shown();
    host_.process().freeze();
    ASSERT_TRUE(terminal.type("q"));
    ASSERT_TRUE(terminal.isShown("logging out")) << terminal.shown();
    ASSERT_TRUE(terminal.type("q"));  // at once
    ASSERT_TRUE(terminal.isShown(kAltScreenLeft)) << terminal.shown();
    EXPECT_EQ(terminal.status(), 128 + SIGINT);
    EXPECT_TRUE(terminal.echoes());
    host_.process().thaw();
}

TEST_F(KelpnmsAlarmScreen, RefusedLogInIsReportedOnTheTerminalAsItWas) {
    startHost();
    std::vector<std::string> command = screenCommand();
    *std::find(command.begin(), command.end(), "demo") = "nobody";
    PseudoTerminal terminal(command, 120, xterm_);
    ASSERT_TRUE(terminal.isShown(kAltScreenLeft)) << terminal.shown();
    ASSERT_TRUE(terminal.isShown("kelpnms:")) << terminal.shown();
    EXPECT_EQ(terminal.status(), 4);
}

TEST_F(KelpnmsAlarmScreen, LinesAreWrittenOnRequest) {
    startHost();
    raise("NE-1", "major");
    std::vector<std::string> command = screenCommand();
    command.insert(command.end(), {"--lines", "--for", "3"});
    PseudoTerminal terminal(command, 120, {{"TERM", "xterm"}, {"NO_COLOR", "1"}});
    ASSERT_TRUE(terminal.isShown("new            major")) << terminal.shown();
    ASSERT_TRUE(terminal.isShown("resynchronised")) << terminal.shown();
    EXPECT_EQ(terminal.shown().find('\033'), std::string::npos) << terminal.shown();
    EXPECT_EQ(terminal.status(), 0);
}

}  // namespace
}  // namespace kelp::test
