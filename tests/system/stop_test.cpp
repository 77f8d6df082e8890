// The host's stop in every state of its NMS and its naming service, and a start that fails.

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <string>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/name_server.h"
#include "harness/nms_process.h"
#include "support/tcp_peers.h"

namespace kelp::test {
namespace {

/// The maximum that the product promises for a stop when every peer is frozen.
constexpr std::chrono::seconds kLongestStop{60};

class Stop : public ::testing::Test {
  protected:
    void SetUp() override { host.addUser("alice"); }
    Host host;
};

TEST_F(Stop, EachOfFiftyNmsIsNotifiedOnce) {
    constexpr int kNms = 50;
    host.start();
    NmsProcess nms(host, kNms);
    nms.logInAll(kNms, "alice");
    EXPECT_EQ(host.stop(), 0);
    EXPECT_TRUE(eventually([&] { return nms.endedOnce() == kNms; }));
    EXPECT_TRUE(eventually([&] { return host.processesLeft().empty(); }));
}

TEST_F(Stop, EndsWithEveryNmsAndTheNamingServiceFrozen) {
    constexpr int kNms = 30;
    NameServer names;
    host.useNamingService(names.port());
    host.start();
    ASSERT_TRUE(host.log().waitFor("Now try to register it."));
    NmsProcess nms(host, kNms);
    nms.logInAll(kNms, "alice");
    nms.process().freeze();
    names.process().freeze();
    EXPECT_EQ(host.stop(kLongestStop), 0);
    names.process().thaw();
    nms.process().thaw();
}

TEST_F(Stop, EndsWithCallsInProgressThatMayTakeADay) {
    constexpr int kNms = 5;
    host.set("session", "call_timeout_s", 86400)
        .set("session", "ping_interval_s", 1)
        .set("notification", "push_timeout_s", 86400);
    host.start();
    const DeafListener deaf;
    NmsProcess victim(host);
    victim.logInWith(0, "alice", deaf.corbaloc());
    NmsProcess nms(host, kNms);
    nms.logInAll(kNms, "alice");
    nms.process().freeze();
    ASSERT_TRUE(eventually([&] { return deaf.hasConnection(); }));
    EXPECT_EQ(host.stop(kLongestStop), 0);
    nms.process().thaw();
}

TEST_F(Stop, EndsInSilentModeWithAnNmsDeadForSixRounds) {
    host.set("session", "release_strategy", 2).set("session", "silent_time_s", 3600);
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    nms.process().kill();
    ASSERT_TRUE(host.log().waitFor("Exception raised during PING operation,user<alice>", 6));
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(Stop, EndsWhileNmsWaitForASilentOne) {
    host.set("session", "release_strategy", 2)
        .set("session", "ping_mode", "false")
        .set("session", "silent_time_s", 3600);
    host.start();
    NmsProcess nms(host, 5);
    nms.logInAll(5, "alice");
    EXPECT_EQ(host.stop(), 0);
    EXPECT_TRUE(eventually([&] { return nms.endedOnce() == 5; }));
}

TEST_F(Stop, FailedManagerInterfaceUndoesTheStartInOrder) {
    const std::string record = host.scratch("managers").string();
    host.setEnvironment("KELP_TEST_MANAGERS", "first:1:ok,second:2:ok,third:3:fail,fourth:4:ok")
        .setEnvironment("KELP_TEST_RECORD", record)
        .addBundle("recording_managers");
    EXPECT_EQ(host.startToFail(), 5);
    std::ostringstream calls;
    calls << std::ifstream(record).rdbuf();
    EXPECT_EQ(calls.str(),
              "init first\ninit second\ninit third\n"
              "exit fourth\nexit third\nexit second\nexit first\n"
              "destroy fourth\ndestroy third\ndestroy second\ndestroy first\n");
    EXPECT_TRUE(host.log().containsInOrder(
        {"[CorbaAgentFacade::Init] Initialize Corba Interface: third failed!",
         "===Begin to Exit Threads of Corba...===", "=== Finish to Exit Threads of Corba! ===",
         "===[CorbaAgentFacade::Fini] Begin to destroy Corba Agent... ===",
         "===[CorbaAgentFacade::Fini] Finish to destroy Corba Agent! ==="}));
    EXPECT_TRUE(eventually([&] { return host.processesLeft().empty(); }));
}

}  // namespace
}  // namespace kelp::test
