// kelpnms events against a real host: the events it shows, the losses it reports, and how it
// reconnects.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "kelpnms_fixture.h"
#include "support/pseudo_terminal.h"

namespace kelp::test {
namespace {

class KelpnmsEvents : public KelpnmsTest {
  protected:
    KelpnmsEvents() { host_.set("notification", "heartbeat_s", 1); }

    /// Return the last line that reports this event, as JSON.
    Json told(const std::string& event) {
        Json found;
        std::istringstream lines(output());
        for (std::string line; std::getline(lines, line);) {
            Json json = Json::parse(line, nullptr, false);
            if (json.is_object() && json.value("event", "") == event)
                found = std::move(json);
        }
        return found;
    }
    bool waitForNotice(const std::string& event) {
        return log_.waitFor("\"event\":\"" + event + "\"");
    }
    bool waitForHeartbeats(std::size_t number) { return log_.waitFor("NT_HEARTBEAT", number); }
    bool waitForAnotherHeartbeat() { return waitForHeartbeats(log_.count("NT_HEARTBEAT") + 1); }
};

TEST_F(KelpnmsEvents, EventsAreShownUntilTheCountIsReached) {
    startHost();
    EXPECT_EQ(run({"--json", "events", "--count", "2", "--for", "30"}), 0) << output();
    const Json first = Json::parse(output().substr(0, output().find('\n')), nullptr, false);
    EXPECT_EQ(first["type"], "NT_HEARTBEAT");
    EXPECT_EQ(first["fields"]["objectName"]["EMS"], "Kelp/EMS");
    EXPECT_EQ(first["fields"]["objectType"], "OT_EMS");
    EXPECT_EQ(log_.count("NT_HEARTBEAT"), 2u);
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsEvents, EventsAreSelectedByTheFilter) {
    host_.set("agent", "HeartbeatEventType", 1);
    startHost();
    EXPECT_EQ(run({"events", "--filter", "$perceivedSeverity == PS_CRITICAL", "--for", "3",
                   "--count", "1"}),
              6);
    EXPECT_FALSE(log_.contains("NT_ALARM")) << output();
    EXPECT_EQ(run({"events", "--sequence", "--filter", "$perceivedSeverity == PS_INDETERMINATE",
                   "--for", "30", "--count", "1"}),
              0);
    EXPECT_TRUE(
        log_.containsInOrder({"SEVERITY", "INDET.", "NT_ALARM", "EMS=Kelp/EMS", "Heartbeat"}))
        << output();
    EXPECT_EQ(run({"events", "--filter", "$perceivedSeverity =="}), 5);
    EXPECT_TRUE(log_.contains("refuses the filter")) << output();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsEvents, EventsEndWhenTheEmsStopsWithoutReconnecting) {
    startHost();
    ChildProcess nms(launch({"--verbose", "events", "--no-reconnect"}));
    EXPECT_TRUE(log_.waitFor("connected to the event channel"));
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(nms.waitExit(), 6) << output();
    EXPECT_TRUE(log_.contains("*** connectionLost")) << output();
    EXPECT_FALSE(log_.contains("reconnecting")) << output();
}

TEST_F(KelpnmsEvents, EventsReachTheOthersWhileOneNmsIsFrozenAndThatOneAfterwards) {
    host_.set("notification", "push_timeout_s", 1).set("session", "ping_interval_s", 60);
    startHost();
    ChildProcess frozen(launch({"--verbose", "events", "--count", "7", "--for", "120"}));
    LogFile frozenLog = log_;
    ASSERT_TRUE(frozenLog.waitFor("NT_HEARTBEAT", 2));  // it now knows the heartbeats' interval
    frozen.freeze();
    const std::size_t before = frozenLog.count("NT_HEARTBEAT");
    EXPECT_EQ(run({"events", "--count", "5", "--for", "60"}), 0) << output();
    EXPECT_EQ(frozenLog.count("NT_HEARTBEAT"), before);
    frozen.thaw();
    EXPECT_EQ(frozen.waitExit(), 0) << frozenLog.text();
    EXPECT_EQ(frozenLog.count("NT_HEARTBEAT"), 7u);
    EXPECT_FALSE(frozenLog.contains("connectionLost"))
        << "its own standing still is no silence of the EMS";
}

TEST_F(KelpnmsEvents, EventsContinueWhenTheKilledHostIsRestarted) {
    startHost();
    ChildProcess nms(launch({"--json", "--timeout", "5", "events"}));
    ASSERT_TRUE(waitForHeartbeats(1)) << output();
    host_.process().kill();
    ASSERT_TRUE(waitForNotice("connectionLost")) << output();
    host_.start();
    ASSERT_TRUE(waitForNotice("reconnected")) << output();
    EXPECT_GT(told("reconnected")["awaySeconds"], 0.0);
    EXPECT_NE(told("reconnected")["advice"].get<std::string>().find("resynchronise"),
              std::string::npos);
    EXPECT_TRUE(waitForAnotherHeartbeat()) << output();
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 0) << output();
    // the killed host destroyed no session, the new host destroyed all of its sessions
    EXPECT_TRUE(eventually([this] {
        return host_.log().count("has been constructured!") ==
               host_.log().count("has been destroyed!") + 1;
    }));
}

TEST_F(KelpnmsEvents, NewConnectionHasTheSameFilter) {
    host_.set("agent", "HeartbeatEventType", 1);
    startHost();
    ChildProcess nms(
        launch({"--json", "events", "--filter", "$perceivedSeverity == PS_INDETERMINATE"}));
    LogFile filtered = log_;
    ASSERT_TRUE(filtered.waitFor("NT_ALARM")) << filtered.text();
    EXPECT_EQ(host_.stop(), 0);
    host_.set("agent", "HeartbeatEventType", 0);
    host_.start();
    ASSERT_TRUE(filtered.waitFor("\"event\":\"reconnected\"")) << filtered.text();
    // a consumer without the filter receives the events that do not match it
    EXPECT_EQ(run({"events", "--count", "2", "--for", "30"}), 0) << output();
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 0);
    EXPECT_FALSE(filtered.contains("NT_HEARTBEAT")) << filtered.text();
}

TEST_F(KelpnmsEvents, ReconnectsToAHostThatWasStopped) {
    startHost();
    ChildProcess nms(launch({"--json", "events", "--sequence"}));
    ASSERT_TRUE(waitForHeartbeats(1)) << output();
    EXPECT_EQ(host_.stop(), 0);
    ASSERT_TRUE(waitForNotice("reconnectFailed")) << output();
    host_.start();
    ASSERT_TRUE(waitForNotice("reconnected")) << output();
    EXPECT_TRUE(waitForAnotherHeartbeat()) << output();
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsEvents, InterruptWhileReconnectingEnds) {
    startHost();
    ChildProcess nms(launch({"--json", "events"}));
    ASSERT_TRUE(waitForHeartbeats(1)) << output();
    host_.process().kill();
    ASSERT_TRUE(waitForNotice("reconnectFailed")) << output();
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

TEST_F(KelpnmsEvents, InterruptEndsAlsoWhenTheEmsHangs) {
    startHost();
    ChildProcess nms(launch({"--json", "--timeout", "600", "events"}));
    ASSERT_TRUE(waitForHeartbeats(2)) << output();
    host_.process().freeze();
    ASSERT_TRUE(waitForNotice("connectionLost")) << output();
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 128 + SIGINT) << output();
    host_.process().thaw();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsEvents, TerminationEndsTheSession) {
    startHost();
    ChildProcess nms(launch({"--verbose", "events"}));
    ASSERT_TRUE(waitForHeartbeats(1)) << output();
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_TRUE(log_.contains("logged out")) << output();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsEvents, OverdueHeartbeatIsALossOfTheConnection) {
    host_.set("notification", "heartbeat_s", 60);
    startHost();
    EXPECT_EQ(run({"--json", "events", "--heartbeat-interval", "1", "--no-reconnect"}), 6)
        << output();
    EXPECT_NE(told("connectionLost")["reason"].get<std::string>().find("a heartbeat is overdue"),
              std::string::npos)
        << output();
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsEvents, LossesThatTheEmsReportsAreShown) {
    const std::string fifo = host_.scratch("loss").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    host_.setEnvironment("KELP_TEST_EVENT_LOSS", fifo).addBundle("event_loss_switch");
    startHost();
    ChildProcess nms(launch({"--json", "events"}));
    ASSERT_TRUE(waitForHeartbeats(1)) << output();
    std::ofstream(fifo, std::ios::app) << "occurred 20240105030405.0Z 4711" << std::endl;
    ASSERT_TRUE(waitForNotice("eventLossOccurred")) << output();
    EXPECT_EQ(told("eventLossOccurred")["startTime"], "20240105030405.0Z");
    EXPECT_EQ(told("eventLossOccurred")["notificationId"], "4711");
    std::ofstream(fifo, std::ios::app) << "cleared 20240105030500.0Z" << std::endl;
    ASSERT_TRUE(waitForNotice("eventLossCleared")) << output();
    EXPECT_EQ(told("eventLossCleared")["endTime"], "20240105030500.0Z");
    EXPECT_NE(told("eventLossCleared")["advice"].get<std::string>().find("resynchronise"),
              std::string::npos);
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

TEST_F(KelpnmsEvents, TerminalGetsAColouredTableOfItsWidth) {
    host_.set("agent", "HeartbeatEventType", 1);
    startHost();
    std::vector<std::string> command = commandLine({"events", "--count", "1"});
    command.insert(command.begin(), KELPNMS);
    PseudoTerminal terminal(command, 72, {{"TERM", "xterm"}, {"NO_COLOR", ""}});
    ASSERT_TRUE(terminal.isShown("\033[2mTIME")) << terminal.shown();
    ASSERT_TRUE(terminal.isShown("\033[2m")) << terminal.shown();
    ASSERT_TRUE(terminal.isShown("\033[0m\r\n")) << terminal.shown();
    const std::size_t end = terminal.shown().rfind("\033[0m");
    const std::size_t begin = terminal.shown().rfind("\033[2m", end) + 4;
    const std::string row = terminal.shown().substr(begin, end - begin);
    EXPECT_NE(row.find("NT_ALARM"), std::string::npos) << row;
    EXPECT_LE(row.size(), 72u) << row;
    EXPECT_EQ(terminal.status(), 0);
}

TEST_F(KelpnmsEvents, NoColourIsUsedWhenColoursAreOff) {
    startHost();
    std::vector<std::string> command = commandLine({"events", "--count", "1"});
    command.insert(command.begin(), KELPNMS);
    PseudoTerminal terminal(command, 72, {{"TERM", "xterm"}, {"NO_COLOR", "1"}});
    ASSERT_TRUE(terminal.isShown("NT_HEARTBEAT")) << terminal.shown();
    EXPECT_EQ(terminal.shown().find('\033'), std::string::npos) << terminal.shown();
    EXPECT_EQ(terminal.status(), 0);
}

}  // namespace
}  // namespace kelp::test
