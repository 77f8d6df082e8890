#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>

#include "session_object.h"
#include "support/tcp_peers.h"
#include "tcp_relay.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;
using kelp::orb::DeathWatch;

class DeathWatchTest : public testing::Test {
  protected:
    DeathWatchTest() { kelp::orb::setThreadTimeout(100ms); }

    CORBA::Object_ptr reference(const std::string& text) { return kelp::orb::toReference(orb_.orb(), text); }
    static CORBA::Object_ptr none() { return CORBA::Object::_nil(); }

    RunningOrb orb_;
    DeathWatch watch_;
};

TEST_F(DeathWatchTest, ALiveObjectIsNotDead) {
    kelp::orb::setThreadTimeout(20s);
    SessionObject session(orb_);
    for (int round = 0; round < 5; ++round)
        EXPECT_FALSE(watch_.isDead(session.remote(), none()));
}

TEST_F(DeathWatchTest, NilIsDead) {
    EXPECT_TRUE(watch_.isDead(none(), none()));
    EXPECT_TRUE(watch_.isDead(session::Session_I::_nil(), none()));
}

TEST_F(DeathWatchTest, AnObjectThatALiveProcessDoesNotHaveIsDeadAtOnce) {
    kelp::orb::setThreadTimeout(20s);
    const CORBA::Object_var gone = orb_.overTheWireByKey("Nobody");
    EXPECT_TRUE(watch_.isDead(gone.in(), none()));
}

TEST_F(DeathWatchTest, AClosedPortIsDeadAtOnce) {
    const CORBA::Object_var gone =
        reference("corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(freePort()) + "/Key");
    EXPECT_TRUE(watch_.isDead(gone.in(), none()));
    EXPECT_TRUE(watch_.isDead(gone.in(), none()));
}

TEST_F(DeathWatchTest, APeerThatDoesNotAnswerIsDeadAfterThreeRounds) {
    const DeafListener deaf;
    const CORBA::Object_var hung = reference(deaf.corbaloc());
    EXPECT_FALSE(watch_.isDead(hung.in(), none()));
    EXPECT_FALSE(watch_.isDead(hung.in(), none()));
    EXPECT_TRUE(watch_.isDead(hung.in(), none()));
    EXPECT_TRUE(watch_.isDead(hung.in(), none()));
}

TEST_F(DeathWatchTest, APeerWhoseConnectionIsNotAnsweredIsDeadAfterThreeRounds) {
    const FullBacklogListener busy;
    const CORBA::Object_var hung = reference(busy.corbaloc());
    EXPECT_FALSE(watch_.isDead(hung.in(), none()));
    EXPECT_FALSE(watch_.isDead(hung.in(), none()));
    EXPECT_TRUE(watch_.isDead(hung.in(), none()));
}

TEST_F(DeathWatchTest, APeerThatCutsEveryConnectionIsDeadAfterThreeRounds) {
    kelp::orb::setThreadTimeout(20s);
    const CuttingListener cutting;
    const CORBA::Object_var broken = reference("corbaloc:iiop:1.2@" + cutting.hostAndPort() + "/Key");
    EXPECT_FALSE(watch_.isDead(broken.in(), none()));
    EXPECT_FALSE(watch_.isDead(broken.in(), none()));
    EXPECT_TRUE(watch_.isDead(broken.in(), none()));
}

TEST_F(DeathWatchTest, OneAnswerBeginsTheCountAnew) {
    SessionObject session(orb_);
    const DeafListener deaf;
    const CORBA::Object_var hung = reference(deaf.corbaloc());
    EXPECT_FALSE(watch_.isDead(hung.in(), none()));
    EXPECT_FALSE(watch_.isDead(hung.in(), none()));
    kelp::orb::setThreadTimeout(20s);
    EXPECT_FALSE(watch_.isDead(session.remote(), none()));
    kelp::orb::setThreadTimeout(100ms);
    EXPECT_FALSE(watch_.isDead(hung.in(), none()));
    EXPECT_FALSE(watch_.isDead(hung.in(), none()));
    EXPECT_TRUE(watch_.isDead(hung.in(), none()));
}

TEST_F(DeathWatchTest, AProcessThatDiedBehindAnOpenConnectionIsDeadInTheSameRound) {
    kelp::orb::setThreadTimeout(20s);
    SessionObject session(orb_);
    kelp::orb::publishKey(orb_.orb(), "Key", &session.servant(), session.inProcess());
    TcpRelay relay(orb_.port());
    const CORBA::Object_var object =
        reference("corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(relay.port()) + "/Key");
    EXPECT_FALSE(watch_.isDead(object.in(), none()));
    relay.kill();
    EXPECT_TRUE(watch_.isDead(object.in(), none()));
}

TEST_F(DeathWatchTest, ARefusalIsASignOfLife) {
    class RefusingHook : public kelp::orb::RequestHook {
      public:
        void received(const kelp::orb::RequestInfo&) override { throw CORBA::NO_PERMISSION(); }
        void dispatching(const kelp::orb::RequestInfo&) override {}
        void finished(const kelp::orb::RequestInfo&, const CORBA::Exception*) noexcept override {}
    } hook;
    orb_.destroy();
    const RunningOrb refusing(&hook);
    kelp::orb::setThreadTimeout(20s);
    SessionObject session(refusing);
    for (int round = 0; round < 5; ++round)
        EXPECT_FALSE(watch_.isDead(session.remote(), none()));
}

TEST_F(DeathWatchTest, AnAnswerOfTransientFromALiveProcessIsNotARefusedConnection) {
    class StartingHook : public kelp::orb::RequestHook {
      public:
        void received(const kelp::orb::RequestInfo&) override { throw CORBA::TRANSIENT(); }
        void dispatching(const kelp::orb::RequestInfo&) override {}
        void finished(const kelp::orb::RequestInfo&, const CORBA::Exception*) noexcept override {}
    } hook;
    orb_.destroy();
    const RunningOrb starting(&hook);
    kelp::orb::setThreadTimeout(20s);
    SessionObject session(starting);
    EXPECT_FALSE(watch_.isDead(session.remote(), none()));
    EXPECT_FALSE(watch_.isDead(session.remote(), none()));
}

TEST_F(DeathWatchTest, OurOwnReferenceIsAliveWithoutACall) {
    // both texts lead to a peer that never answers; a call would be counted
    const DeafListener deaf;
    const CORBA::Object_var own = reference(deaf.corbaloc());
    const CORBA::Object_var same = reference(deaf.corbaloc());
    kelp::orb::setThreadTimeout(60s);
    for (int round = 0; round < 4; ++round)
        EXPECT_FALSE(watch_.isDead(same.in(), own.in()));
}

TEST_F(DeathWatchTest, OurOwnReferenceIsKnownInAnotherText) {
    const DeafListener deaf;
    const DeafListener second;
    const CORBA::Object_var own = reference(deaf.corbaloc("Key"));
    // the same object and address, and one address more
    const CORBA::Object_var longer =
        reference("corbaloc:iiop:1.2@" + deaf.hostAndPort() + ",iiop:1.2@" + second.hostAndPort() + "/Key");
    kelp::orb::setThreadTimeout(60s);
    for (int round = 0; round < 4; ++round)
        EXPECT_FALSE(watch_.isDead(longer.in(), own.in()));
}

TEST_F(DeathWatchTest, AnotherObjectOfOurProcessIsNotTakenForOurs) {
    SessionObject session(orb_);
    const CORBA::Object_var gone = orb_.overTheWireByKey("Nobody");
    kelp::orb::setThreadTimeout(20s);
    EXPECT_TRUE(watch_.isDead(gone.in(), session.inProcess()));
}

TEST_F(DeathWatchTest, OurKeyAtAnotherAddressIsNotTakenForOurs) {
    const DeafListener deaf;
    const CORBA::Object_var own = reference(deaf.corbaloc("Key"));
    const CORBA::Object_var stale =
        reference("corbaloc:iiop:1.2@127.0.0.1:" + std::to_string(freePort()) + "/Key");
    EXPECT_TRUE(watch_.isDead(stale.in(), own.in()));
}

}  // namespace
