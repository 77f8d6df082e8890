// Which consumers continue to receive events and which are dropped. The host, the operator's tool
// and the NMS are separate processes. An NMS at another address than 127.0.0.1 calls through a
// relay.

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "harness/host.h"
#include "harness/log_file.h"
#include "harness/nms_process.h"
#include "support/tcp_relay.h"

namespace kelp::test {
namespace {

using ::testing::HasSubstr;

class GuardedChannel : public ::testing::Test {
  protected:
    void SetUp() override {
        host.set("session", "ping_interval_s", 1)
            .set("session", "ping_mode", "false")
            .set("notification", "heartbeat_s", 0)
            // an NMS on this machine calls through a relay, as if it were on another one
            .set("access", "nms_reference", quoted("any"))
            .set("access", "session_peer", quoted("any"));
        host.addUser("alice");
        host.addUser("bob");
        host.start();
        relay = std::make_unique<TcpRelay>(host.port(), "127.0.0.2");
        there = std::make_unique<NmsProcess>(
            host, "corbaloc:iiop:1.2@" + relay->hostAndPort() + "/%ffV4800%00EMSSessionFactory");
        helper = std::make_unique<NmsProcess>(host);
        here = std::make_unique<NmsProcess>(host);
        there->logIn(0, "alice");
        here->logIn(0, "bob");
        here->follow(0);
        channel = there->channelAt(0, relayed());
        helper->followAt(0, relayed(), channel);
        raise();
        ASSERT_TRUE(eventually([&] { return eventsOf(*helper) == 1 && eventsOf(*here) == 1; }));
    }

    std::string relayed() const { return "127.0.0.1 " + std::to_string(relay->port()); }
    static int eventsOf(NmsProcess& nms) { return nms.followed(0).events; }
    void raise() {
        const std::vector<std::string> alarm = {"--config",
                                                host.configFile().string(),
                                                "alarm",
                                                "raise",
                                                "--object",
                                                "ManagedElement=NE-1",
                                                "--severity",
                                                "major",
                                                "--probable-cause",
                                                "LOS",
                                                "--probable-cause-qualifier",
                                                std::to_string(++raised_)};
        ASSERT_EQ(runToEnd(host.launch(KELPCTL, alarm)), 0);
    }
    /// Expect that the helper's consumer is dropped and nobody else's is.
    void expectTheHelperIsDropped() {
        ASSERT_TRUE(host.log().waitFor("of 127.0.0.2 is dropped"));
        raise();
        EXPECT_TRUE(eventually([&] { return eventsOf(*here) == 2; }));
        EXPECT_EQ(eventsOf(*helper), 1);
        EXPECT_FALSE(host.log().text().find("of 127.0.0.1 is dropped") != std::string::npos);
        EXPECT_THAT(refusalOfTheHelper(), HasSubstr("NO_PERMISSION"));
        EXPECT_TRUE(eventually(
            [&] { return refusalsInTheSecurityLog().find("127.0.0.2") != std::string::npos; }));
        EXPECT_THAT(refusalsInTheSecurityLog(), HasSubstr("notification channel"));
    }
    std::string refusalsInTheSecurityLog() {
        LogFile told(host.scratch("audit" + std::to_string(++looks_)));
        Launch audit = host.launch(KELPCTL, {"--config", host.configFile().string(), "audit",
                                             "--event", "refused-address", "--json"});
        audit.output = told.file();
        EXPECT_EQ(runToEnd(audit), 0);
        return told.text();
    }
    std::string refusalOfTheHelper() {
        try {
            helper->followAt(1, relayed(), channel);
            return {};
        } catch (const std::runtime_error& refused) {
            return refused.what();
        }
    }

    Host host;
    std::unique_ptr<TcpRelay> relay;
    std::unique_ptr<NmsProcess> there;  ///< at 127.0.0.2, logged in
    /// at 127.0.0.2, consumer of `there` in a separate process
    std::unique_ptr<NmsProcess> helper;
    std::unique_ptr<NmsProcess> here;  ///< at 127.0.0.1, logged in
    std::string channel;

  private:
    int looks_ = 0;
    int raised_ = 0;  ///< a repeated alarm would not be sent
};

TEST_F(GuardedChannel, AnNmsThatHasLoggedOutGetsNoMoreEvents) {
    there->end(0);
    expectTheHelperIsDropped();
    there->logIn(0, "alice");
    EXPECT_EQ(refusalOfTheHelper(), "") << "it may connect anew";
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(GuardedChannel, AnNmsThatHasLoggedOutNextToAnotherAtItsAddressLosesWhatItOwned) {
    NmsProcess neighbour(host);
    neighbour.logIn(0, "alice");
    neighbour.follow(0);
    raise();
    ASSERT_TRUE(eventually([&] { return eventsOf(neighbour) == 1; }));
    neighbour.end(0);
    ASSERT_TRUE(host.log().waitFor("of 127.0.0.1 is dropped: the log-in of alice at "));
    raise();
    ASSERT_TRUE(eventually([&] { return eventsOf(*here) == 3; })) << "the other one goes on";
    EXPECT_EQ(eventsOf(neighbour), 1);
    EXPECT_EQ(host.stop(), 0);
}

TEST_F(GuardedChannel, CallsOnTheChannelAreRecordedWithUserAndNms) {
    here->unfollow(0);
    here->follow(0);
    EXPECT_EQ(host.stop(), 0);
    LogFile told(host.scratch("oplog"));
    Launch oplog =
        host.launch(KELPCTL, {"--config", host.configFile().string(), "oplog", "--user", "bob",
                              "--operation", "obtain_notification_push_supplier", "--json"});
    oplog.output = told.file();
    EXPECT_EQ(runToEnd(oplog), 0);
    EXPECT_THAT(told.text(), HasSubstr("channel"));
    EXPECT_THAT(told.text(), HasSubstr("\"bob\""));
}

TEST_F(GuardedChannel, ADisabledUsersNmsGetsNoMoreEvents) {
    host.user({"disable", "alice"});
    expectTheHelperIsDropped();
    EXPECT_EQ(host.stop(), 0);
}

}  // namespace
}  // namespace kelp::test
