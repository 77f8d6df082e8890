#include <gmock/gmock.h>

#include <string>

#include "harness/host.h"
#include "harness/nms_process.h"
#include "support/standard_managers.h"

namespace kelp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Sessions : public ::testing::Test {
  protected:
    void SetUp() override {
        host.addUser("alice");
        host.addUser("bob");
    }

    Host host;
};

TEST_F(Sessions, NmsLogsInUsesAManagerIsPingedAndLogsOut) {
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    EXPECT_EQ(nms.managers(0), standardManagers());
    EXPECT_EQ(nms.emsLabel(0), "EMS");
    EXPECT_TRUE(eventually([&] { return nms.counts(0).pings >= 2; }));
    nms.end(0);
    EXPECT_TRUE(eventually([&] { return !nms.hasSession(0); }));
    EXPECT_EQ(nms.counts(0).ended, 0);
    EXPECT_EQ(host.stop(), 0);
    EXPECT_TRUE(eventually([&] { return host.processesLeft().empty(); }));
}

TEST_F(Sessions, TwoNmsAtOnceAreIndependent) {
    host.start();
    NmsProcess one(host);
    NmsProcess two(host);
    one.logIn(0, "alice");
    two.logIn(0, "bob");
    one.end(0);
    EXPECT_TRUE(eventually([&] { return !one.hasSession(0); }));
    two.ping(0);
    EXPECT_EQ(two.emsLabel(0), "EMS");
    EXPECT_EQ(two.counts(0).ended, 0);
}

TEST_F(Sessions, SameUserFromTwoPortsHasTwoSessions) {
    host.start();
    NmsProcess nms(host, 2);
    nms.logIn(0, "alice");
    nms.logIn(1, "alice");
    EXPECT_NE(nms.sessionReference(0), nms.sessionReference(1));
    EXPECT_TRUE(nms.hasSession(0));
    EXPECT_TRUE(nms.hasSession(1));
}

TEST_F(Sessions, SecondLoginFromSameNmsEndsTheFirstSession) {
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    const std::string first = nms.sessionReference(0);
    nms.logIn(1, "alice");
    EXPECT_TRUE(eventually([&] { return !nms.knowsSession(first); }));
    EXPECT_TRUE(nms.hasSession(1));
    EXPECT_TRUE(host.log().waitFor(
        "[getEmsSession] IP Adress and Port conflict, the session will be destroyed!"));
}

TEST_F(Sessions, SecondLoginFromSameNmsGetsTheFirstSessionUnderTheReuseRule) {
    host.set("agent", "bUseBTName", 1);
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    const std::string first = nms.sessionReference(0);
    nms.logIn(1, "alice");
    EXPECT_EQ(nms.sessionReference(1), first);
    EXPECT_TRUE(nms.hasSession(0));
    EXPECT_FALSE(nms.tryLogIn(2, "alice", "wrong").empty());
    EXPECT_TRUE(nms.hasSession(0));
}

TEST_F(Sessions, ReuseRuleTakesEffectWhenTheHostRereadsIt) {
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    host.set("agent", "bUseBTName", 1);
    host.reconfigure();
    // the option takes effect just after the line, on another thread
    EXPECT_TRUE(eventually([&] {
        const std::string before = nms.sessionReference(0);
        nms.logIn(0, "alice");
        return nms.sessionReference(0) == before;
    }));

    host.set("agent", "bUseBTName", quoted("yes")).set("session", "ping_interval_s", 0);
    host.reconfigure();
    EXPECT_TRUE(host.log().waitFor("the configuration is kept as it was"));
    EXPECT_TRUE(host.log().waitFor("session.ping_interval_s"));
    const std::string session = nms.sessionReference(0);
    nms.logIn(0, "alice");
    EXPECT_EQ(nms.sessionReference(0), session);
}

TEST_F(Sessions, WrongPasswordAndUnknownUserAreRefusedAlike) {
    host.start();
    NmsProcess nms(host);
    const std::string refusal =
        "EXCPT_ACCESS_DENIED (76545955) The user name or the password is wrong.";
    EXPECT_THAT(nms.tryLogIn(0, "alice", "wrong"), HasSubstr(refusal));
    EXPECT_THAT(nms.tryLogIn(0, "mallory", "wrong"), HasSubstr(refusal));
}

TEST_F(Sessions, TwoHundredNmsAreLoggedInAtOnce) {
    constexpr int kNms = 200;
    host.set("session", "ping_interval_s", 2);
    host.start();
    NmsProcess nms(host, kNms);
    nms.logInAll(kNms, "alice");
    for (const int number : {0, 99, 199})
        EXPECT_EQ(nms.emsLabel(number), "EMS");
    EXPECT_TRUE(eventually([&] { return nms.allCounts().pings >= kNms; }));
    nms.endAll();
    EXPECT_TRUE(eventually([&] { return !nms.hasSession(0) && !nms.hasSession(199); }));
    EXPECT_EQ(host.stop(), 0);
}

}  // namespace
}  // namespace kelp::test
