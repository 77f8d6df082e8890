// NMS that die, hang or fall silent, and the effect on other NMS.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>
#include <string>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/nms_process.h"
#include "support/tcp_peers.h"

namespace kelp::test {
namespace {

constexpr const char* kFailedPing =
    "[SessionSource::check_valid] Exception raised during PING operation,user<bob>";
constexpr const char* kGivenUp =
    "[SessionSource::check_valid]Detect nmsSession failed or ems wants exit, now EMS will destroy "
    "associated "
    "emsSession resource,user<bob>";
/// Maximum duration of a healthy NMS's call. It is far shorter than the four hung pings that its
/// neighbour costs the EMS.
constexpr int kSlowestCallMs = 2000;

class Liveness : public ::testing::Test {
  protected:
    void SetUp() override {
        host.addUser("alice");
        host.addUser("bob");
    }
    void startWithAHealthyNms() {
        host.start();
        healthy = std::make_unique<NmsProcess>(host);
        healthy->logIn(0, "alice");
        healthy->startChatter(0);
    }
    /// Expect that bob's session ends after the fourth failed ping, and that alice has noticed
    /// nothing.
    void expectGivenUpAfterFourPings() {
        ASSERT_TRUE(host.log().waitFor(kGivenUp));
        EXPECT_EQ(host.log().count(kFailedPing), 4u);
        const ChatterResult calls = healthy->stopChatter(0);
        EXPECT_GT(calls.calls, 0);
        EXPECT_EQ(calls.failures, 0);
        EXPECT_LT(calls.slowestMs, kSlowestCallMs);
        EXPECT_TRUE(healthy->hasSession(0));
        EXPECT_TRUE(eventually([&] { return healthy->counts(0).pings >= 2; }));
    }

    Host host;
    std::unique_ptr<NmsProcess> healthy;
};

TEST_F(Liveness, KilledNmsIsGivenUpAfterFourPings) {
    startWithAHealthyNms();
    NmsProcess victim(host);
    victim.logIn(0, "bob");
    victim.process().kill();
    expectGivenUpAfterFourPings();
}

TEST_F(Liveness, FrozenNmsIsGivenUpAfterFourPings) {
    startWithAHealthyNms();
    NmsProcess victim(host);
    victim.logIn(0, "bob");
    victim.process().freeze();
    expectGivenUpAfterFourPings();
    victim.process().thaw();
    EXPECT_TRUE(eventually([&] { return !victim.hasSession(0); }));
}

TEST_F(Liveness, NmsThatListensAndNeverAnswersIsGivenUpAfterFourPings) {
    startWithAHealthyNms();
    const DeafListener deaf;
    NmsProcess victim(host);
    victim.logInWith(0, "bob", deaf.corbaloc());
    expectGivenUpAfterFourPings();
}

TEST_F(Liveness, NmsThatAcceptsNoConnectionIsGivenUpAfterFourPings) {
    startWithAHealthyNms();
    const FullBacklogListener full;
    NmsProcess victim(host);
    victim.logInWith(0, "bob", "corbaloc:iiop:1.2@" + full.hostAndPort() + "/Object");
    expectGivenUpAfterFourPings();
}

TEST_F(Liveness, NmsThatAnswersAgainInTimeKeepsItsSession) {
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "bob");
    nms.process().freeze();
    ASSERT_TRUE(host.log().waitFor(kFailedPing, 2));
    nms.process().thaw();
    const int before = nms.counts(0).pings;
    EXPECT_TRUE(eventually([&] { return nms.counts(0).pings >= before + 6; }));
    EXPECT_TRUE(nms.hasSession(0));
    EXPECT_FALSE(host.log().contains(kGivenUp));
}

// -- release strategies

TEST_F(Liveness, WithoutPingModeNobodyIsPinged) {
    host.set("session", "ping_mode", "false").set("session", "release_strategy", 0);
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    nms.ping(0);
    EXPECT_EQ(host.stop(), 0);
    EXPECT_TRUE(eventually([&] { return nms.counts(0).ended == 1; }));
    EXPECT_EQ(nms.counts(0).pings, 0);
}

TEST_F(Liveness, LimitEndsTheOldestSession) {
    host.set("session", "release_strategy", 1)
        .set("session", "ping_mode", "false")
        .set("session", "max_sessions", 2);
    host.start();
    NmsProcess nms(host, 3);
    for (const int number : {0, 1, 2})
        nms.logIn(number, "alice");
    EXPECT_TRUE(eventually([&] { return !nms.hasSession(0); }));
    EXPECT_TRUE(nms.hasSession(1));
    EXPECT_TRUE(nms.hasSession(2));
    EXPECT_EQ(nms.counts(0).ended, 0);
}

TEST_F(Liveness, LimitDoesNotApplyWithPingMode) {
    host.set("session", "release_strategy", 1).set("session", "max_sessions", 2);
    host.start();
    NmsProcess nms(host, 3);
    for (const int number : {0, 1, 2})
        nms.logIn(number, "alice");
    EXPECT_TRUE(eventually([&] { return nms.counts(0).pings >= 3; }));
    EXPECT_TRUE(nms.hasSession(0));
}

TEST_F(Liveness, SilenceEndsASessionAndCallsKeepOne) {
    host.set("session", "release_strategy", 2)
        .set("session", "ping_mode", "false")
        .set("session", "silent_time_s", 3);
    host.start();
    NmsProcess talking(host);
    talking.logIn(0, "alice");
    const std::string talkingSession = talking.sessionReference(0);
    talking.startChatter(0);
    NmsProcess silent(host);
    silent.logIn(0, "bob");
    ASSERT_TRUE(host.log().waitFor(
        "[theWaiting] Waiting for NMS invoke time out, session will be destroyed!"));
    EXPECT_TRUE(eventually([&] { return !silent.hasSession(0); }));
    EXPECT_EQ(talking.chatter(0).failures, 0);
    EXPECT_TRUE(talking.knowsSession(talkingSession));
    EXPECT_EQ(talking.stopChatter(0).failures, 0);
}

TEST_F(Liveness, UnreachableNmsIsWaitedForAndReturns) {
    host.set("session", "release_strategy", 2).set("session", "silent_time_s", 60);
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "bob");
    nms.process().freeze();
    ASSERT_TRUE(host.log().waitFor("[SilentWaiting:] Waiting for Invoking from: "));
    nms.process().thaw();
    ASSERT_TRUE(host.log().waitFor("[SessionMgr::svc]user<bob>,ip<"));
    EXPECT_TRUE(host.log().waitFor(",Ping OSS succeeded, Now END waiting."));
    EXPECT_TRUE(nms.hasSession(0));
    EXPECT_TRUE(host.log().waitFor("[SilentWaiting:] Detection Thread now Exit!!"));
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(Liveness, UnreachableNmsIsEndedAfterTheSilentTime) {
    host.set("session", "release_strategy", 2).set("session", "silent_time_s", 3);
    startWithAHealthyNms();
    NmsProcess nms(host);
    nms.logIn(0, "bob");
    nms.process().freeze();
    EXPECT_TRUE(host.log().waitFor("[SilentWaiting] Exceed silent waiting period, now session "));
    nms.process().thaw();
    EXPECT_TRUE(eventually([&] { return !nms.hasSession(0); }));
    EXPECT_EQ(healthy->stopChatter(0).failures, 0);
}

// -- event loss

TEST_F(Liveness, EventLossAndItsEndAreReportedToEveryNmsOnce) {
    const std::string fifo = host.scratch("loss").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    host.setEnvironment("KELP_TEST_EVENT_LOSS", fifo).addBundle("event_loss_switch");
    host.start();
    NmsProcess nms(host, 3);
    nms.logIn(0, "alice");
    nms.logIn(1, "bob");
    const auto report = [&](const std::string& line) {
        std::ofstream(fifo, std::ios::app) << line << std::endl;
    };
    report("occurred 20240105030405.0Z 4711");
    EXPECT_TRUE(eventually([&] { return nms.counts(0).losses == 1 && nms.counts(1).losses == 1; }));
    EXPECT_EQ(nms.counts(0).loss, "20240105030405.0Z 4711");
    // an NMS that logs in during the loss receives the report as well
    nms.logIn(2, "alice");
    EXPECT_TRUE(eventually([&] { return nms.counts(2).losses == 1; }));
    report("cleared 20240105030500.0Z");
    EXPECT_TRUE(eventually([&] {
        return nms.counts(0).cleared == 1 && nms.counts(1).cleared == 1 &&
               nms.counts(2).cleared == 1;
    }));
    EXPECT_EQ(nms.counts(1).end, "20240105030500.0Z");
    EXPECT_EQ(nms.counts(0).losses, 1);
}

}  // namespace
}  // namespace kelp::test
