// The product as an NMS on another ORB sees it: the Tcl ORB, which shares no code with ours.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "harness/host.h"
#include "support/standard_managers.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr const char* kSessionGone =
    "[EmsSession_IImpl::~EmsSession_IImpl] EmsSession for NMS-<127.0.0.1:";

class TclNms : public testing::Test {
  protected:
    void SetUp() override {
        host.addUser("alice");
        host.set("session", "ping_interval_s", 1);
    }

    /// Start an NMS that carries out these steps.
    void begin(std::vector<std::string> steps) {
        steps.insert(steps.begin(), {TCL_NMS, TCL_TYPES, std::to_string(host.namingPort())});
        Launch launch = host.launch(TCLSH, std::move(steps));
        launch.output = said.file();
        nms.emplace(launch);
    }
    /// Run an NMS through all its steps. Return the lines that it printed.
    std::vector<std::string> through(std::vector<std::string> steps) {
        begin(std::move(steps));
        EXPECT_EQ(nms->waitExit(), 0) << said.text();
        return lines();
    }
    std::vector<std::string> lines() {
        std::vector<std::string> result;
        std::istringstream in(said.text());
        for (std::string line; std::getline(in, line);)
            result.push_back(line);
        return result;
    }

    Host host;
    LogFile said{host.scratch("said")};
    std::optional<ChildProcess> nms;
};

TEST_F(TclNms, FindsTheFactoryInTheNamingServiceAndAsksItsVersion) {
    host.start();
    EXPECT_THAT(through({"version"}), ElementsAre("version 3.5"));
}

TEST_F(TclNms, IsRefusedWithAWrongPassword) {
    host.start();
    EXPECT_THAT(through({"login", "alice", "wrong"}),
                ElementsAre("login refused EXCPT_ACCESS_DENIED (76545955) The user name or the "
                            "password is wrong."));
}

TEST_F(TclNms, LogsInUsesAManagerAndLogsOut) {
    host.start();
    EXPECT_THAT(
        through({"login", "alice", Host::kPassword, "managers", "ems", "links", "lacking", "ping",
                 "end"}),
        ElementsAre("login ok", "managers" + standardManagersText(" ", ""), "ems Kelp/EMS EMS",
                    "links 0 nil", "lacking EXCPT_NOT_IMPLEMENTED", "ping ok", "end ok"));
    EXPECT_TRUE(host.log().waitFor(kSessionGone));
}

TEST_F(TclNms, IsPingedByTheEms) {
    host.start();
    EXPECT_THAT(through({"login", "alice", Host::kPassword, "pinged", "2", "end"}),
                ElementsAre("login ok", "pinged", "end ok"));
}

TEST_F(TclNms, IsNotifiedWhenTheEmsStops) {
    host.start();
    begin({"login", "alice", Host::kPassword, "ended"});
    EXPECT_TRUE(said.waitFor("login ok"));
    EXPECT_EQ(host.stop(), 0);
    EXPECT_EQ(nms->waitExit(), 0);
    EXPECT_THAT(lines(), ElementsAre("login ok", "ended"));
}

TEST_F(TclNms, GetsHeartbeatsAsStructuredEvents) {
    host.set("notification", "heartbeat_s", 1);
    host.start();
    EXPECT_THAT(
        through({"login", "alice", Host::kPassword, "consume", "NT_HEARTBEAT", "", "events", "2",
                 "end"}),
        ElementsAre("login ok", "consume ok",
                    MatchesRegex("event NT_HEARTBEAT notificationId=  objectName=.*EMS.*Kelp/EMS.* "
                                 "objectType=OT_EMS emsTime=[0-9]+\\.0Z"),
                    StartsWith("event NT_HEARTBEAT "), "end ok"));
}

TEST_F(TclNms, GetsHeartbeatsInTheFormOfAnAlarm) {
    host.set("notification", "heartbeat_s", 1).set("agent", "HeartbeatEventType", 1);
    host.start();
    EXPECT_THAT(
        through(
            {"login", "alice", Host::kPassword, "consume", "NT_ALARM", "", "events", "1", "end"}),
        ElementsAre(
            "login ok", "consume ok",
            MatchesRegex("event NT_ALARM notificationId=0 .* nativeProbableCause=Heartbeat .* "
                         "isClearable=0 layerRate=1 .* perceivedSeverity=PS_INDETERMINATE "
                         "serviceAffecting=SA_NON_SERVICE_AFFECTING .*"),
            "end ok"));
}

TEST_F(TclNms, SelectsEventsByAFilter) {
    host.set("notification", "heartbeat_s", 1).set("agent", "HeartbeatEventType", 1);
    host.start();
    EXPECT_THAT(
        through({"login", "alice", Host::kPassword, "consume", "NT_ALARM",
                 "$objectName(EMS) ==", "consume", "NT_ALARM",
                 "$objectName(EMS) == 'Kelp/EMS' and $perceivedSeverity == PS_INDETERMINATE",
                 "events", "2", "end"}),
        ElementsAre("login ok", "consume refused IDL:omg.org/CosNotifyFilter/InvalidConstraint:1.0",
                    "consume ok", StartsWith("event NT_ALARM"), StartsWith("event NT_ALARM"),
                    "end ok"));
}

TEST_F(TclNms, GetsNothingThatItsFilterDoesNotMatch) {
    host.set("notification", "heartbeat_s", 1);
    host.start();
    begin({"login", "alice", Host::kPassword, "consume", "NT_HEARTBEAT",
           "$objectName(EMS) == 'Another/EMS'", "events", "1"});
    EXPECT_TRUE(said.waitFor("consume ok"));
    // a second NMS shows that heartbeats are sent meanwhile
    Launch other =
        host.launch(TCLSH, {TCL_NMS, TCL_TYPES, std::to_string(host.namingPort()), "login", "alice",
                            Host::kPassword, "consume", "NT_HEARTBEAT", "", "events", "2", "end"});
    other.output = host.scratch("other");
    EXPECT_EQ(runToEnd(other), 0);
    EXPECT_THAT(lines(), ElementsAre("login ok", "consume ok"));
}

TEST_F(TclNms, ThatDiesIsGivenUp) {
    host.start();
    begin({"login", "alice", Host::kPassword, "ended"});
    EXPECT_TRUE(said.waitFor("login ok"));
    nms->kill();
    EXPECT_TRUE(host.log().waitFor(kSessionGone));
}

}  // namespace
}  // namespace kelp::test
