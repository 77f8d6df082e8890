#include <gtest/gtest.h>
#include <kelp/orb/timeouts.h>

#include <atomic>
#include <thread>

#include "session_object.h"
#include "support/latch.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;
using kelp::orb::holdCallers;
using kelp::orb::letCallersThrough;
using kelp::orb::publishKey;
using kelp::orb::withdrawKey;

/// Counts how far requests get.
class CountingHook : public kelp::orb::RequestHook {
  public:
    std::atomic<int> receivedCount{0};
    std::atomic<int> dispatchingCount{0};

    void received(const kelp::orb::RequestInfo&) override { ++receivedCount; }
    void dispatching(const kelp::orb::RequestInfo&) override { ++dispatchingCount; }
    void finished(const kelp::orb::RequestInfo&, const CORBA::Exception*) noexcept override {}
};

/// A caller in a separate thread.
class Caller {
  public:
    explicit Caller(nmsSession::NmsSession_I_ptr session)
        : session_(nmsSession::NmsSession_I::_duplicate(session)), thread_([this] {
              try {
                  session_->ping();
              } catch (const CORBA::Exception& ex) {
                  failure_ = kelp::orb::exceptionText(ex);
              }
              done_ = true;
          }) {}
    ~Caller() {
        if (thread_.joinable())
            thread_.join();
    }
    bool isDone() const { return done_; }
    /// Wait for the answer. Empty if the call succeeded.
    std::string result() {
        thread_.join();
        return failure_;
    }

  private:
    nmsSession::NmsSession_I_var session_;
    std::string failure_;
    std::atomic<bool> done_{false};
    std::thread thread_;
};

class Callers : public testing::Test {
  protected:
    explicit Callers(RunningOrb::Callers callers = RunningOrb::Callers::Through)
        : orb_(&hook_, loopbackOptions(), callers) {
        kelp::orb::setThreadTimeout(30s);
    }

    nmsSession::NmsSession_I_ptr byKey(const std::string& key) const {
        const CORBA::Object_var object = orb_.overTheWireByKey(key);
        return nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    }
    void publish(const std::string& key, SessionObject& session) {
        publishKey(orb_.orb(), key, &session.servant(), session.inProcess());
    }

    CountingHook hook_;
    RunningOrb orb_;
};

class HeldCallers : public Callers {
  protected:
    HeldCallers() : Callers(RunningOrb::Callers::Held) {}
};

TEST_F(HeldCallers, WaitAfterTheStartAndAreServedOnceLetThrough) {
    SessionObject session(orb_);
    Caller caller(session.remote());
    ASSERT_TRUE(waitUntil([&] { return hook_.receivedCount == 1; }));
    EXPECT_FALSE(waitUntil([&] { return caller.isDone() || session.servant().pings > 0; }, 50ms));
    EXPECT_EQ(hook_.dispatchingCount, 0);
    letCallersThrough(orb_.manager());
    EXPECT_EQ(caller.result(), "");
    EXPECT_EQ(session.servant().pings, 1);
}

TEST_F(HeldCallers, OfAWellKnownKeyWaitToo) {
    SessionObject session(orb_);
    publish("EMSSessionFactory", session);
    const nmsSession::NmsSession_I_var known = byKey("EMSSessionFactory");
    Caller caller(known.in());
    ASSERT_TRUE(waitUntil([&] { return hook_.receivedCount == 1; }));
    EXPECT_FALSE(waitUntil([&] { return caller.isDone() || session.servant().pings > 0; }, 50ms));
    letCallersThrough(orb_.manager());
    EXPECT_EQ(caller.result(), "");
    EXPECT_EQ(session.servant().pings, 1);
}

TEST_F(HeldCallers, AllGetThrough) {
    SessionObject session(orb_);
    publish("EMSSessionFactory", session);
    const nmsSession::NmsSession_I_var known = byKey("EMSSessionFactory");
    std::vector<std::unique_ptr<Caller>> callers;
    for (int i = 0; i < 6; ++i)
        callers.push_back(std::make_unique<Caller>(i % 2 == 0 ? session.remote() : known.in()));
    ASSERT_TRUE(waitUntil([&] { return hook_.receivedCount == 6; }));
    letCallersThrough(orb_.manager());
    for (const auto& caller : callers)
        EXPECT_EQ(caller->result(), "");
    EXPECT_EQ(session.servant().pings, 6);
}

TEST_F(HeldCallers, DoNotKeepTheOrbFromStopping) {
    SessionObject session(orb_);
    Caller caller(session.remote());
    ASSERT_TRUE(waitUntil([&] { return hook_.receivedCount == 1; }));
    orb_.destroy();
    EXPECT_NE(caller.result(), "");
}

TEST_F(Callers, MayBeHeldAgain) {
    SessionObject session(orb_);
    publish("EMSSessionFactory", session);
    const nmsSession::NmsSession_I_var known = byKey("EMSSessionFactory");
    session.remote()->ping();
    known->ping();
    for (const auto reference : {session.remote(), known.in()}) {
        holdCallers(orb_.manager());
        session.servant().pings = 0;
        hook_.receivedCount = 0;
        Caller caller(reference);
        ASSERT_TRUE(waitUntil([&] { return hook_.receivedCount == 1; }));
        EXPECT_FALSE(waitUntil([&] { return session.servant().pings > 0; }, 50ms));
        letCallersThrough(orb_.manager());
        EXPECT_EQ(caller.result(), "");
        EXPECT_EQ(session.servant().pings, 1);
    }
}

TEST_F(Callers, AreHeldOnlyAfterTheCallsInProgressHaveEnded) {
    Latch gate;
    SessionObject session(orb_, [&] { gate.pass(); });
    Caller caller(session.remote());
    ASSERT_TRUE(gate.isReached());
    std::atomic<bool> held{false};
    std::thread holder([&] {
        holdCallers(orb_.manager());
        held = true;
    });
    EXPECT_FALSE(waitUntil([&] { return held.load(); }, 50ms));
    gate.open();
    holder.join();
    EXPECT_TRUE(held);
    EXPECT_EQ(caller.result(), "");
}

TEST_F(Callers, MayBeHeldFromInsideACall) {
    SessionObject session(orb_, [this] { holdCallers(orb_.manager()); });
    EXPECT_NO_THROW(session.remote()->ping());
    EXPECT_EQ(orb_.manager()->get_state(), PortableServer::POAManager::HOLDING);
}

TEST_F(Callers, FindAnObjectUnderItsWellKnownKey) {
    SessionObject session(orb_);
    publish("EMSSessionFactory", session);
    const nmsSession::NmsSession_I_var known = byKey("EMSSessionFactory");
    known->ping();
    EXPECT_EQ(session.servant().pings, 1);
    // narrowing asks the object over the connection, because a corbaloc reference has no type
    const CORBA::Object_var object = orb_.overTheWireByKey("EMSSessionFactory");
    const nmsSession::NmsSession_I_var narrowed = nmsSession::NmsSession_I::_narrow(object.in());
    EXPECT_FALSE(CORBA::is_nil(narrowed.in()));
}

TEST_F(Callers, DoNotFindAWithdrawnKey) {
    SessionObject session(orb_);
    publish("EMSSessionFactory", session);
    const nmsSession::NmsSession_I_var known = byKey("EMSSessionFactory");
    known->ping();
    withdrawKey(orb_.orb(), "EMSSessionFactory");
    EXPECT_THROW(known->ping(), CORBA::OBJECT_NOT_EXIST);
    EXPECT_NO_THROW(session.remote()->ping());
}

TEST_F(Callers, FindAKeyThatWasPublishedAgain) {
    SessionObject first(orb_);
    SessionObject second(orb_);
    publish("EMSSessionFactory", first);
    withdrawKey(orb_.orb(), "EMSSessionFactory");
    publish("EMSSessionFactory", second);
    const nmsSession::NmsSession_I_var known = byKey("EMSSessionFactory");
    known->ping();
    EXPECT_EQ(first.servant().pings, 0);
    EXPECT_EQ(second.servant().pings, 1);
}

TEST_F(Callers, LoseNothingByTheWithdrawalOfAnUnknownKey) {
    EXPECT_NO_THROW(withdrawKey(orb_.orb(), "Nobody"));
    EXPECT_NO_THROW(withdrawKey(orb_.orb(), ""));
    EXPECT_NO_THROW(withdrawKey(CORBA::ORB::_nil(), "Nobody"));
    const CORBA::ORB_var gone = CORBA::ORB::_duplicate(orb_.orb());
    orb_.destroy();
    EXPECT_NO_THROW(withdrawKey(gone.in(), "Nobody"));
}

TEST_F(Callers, AreNotConfusedByAKeyThatIsPublishedTwice) {
    SessionObject first(orb_);
    SessionObject second(orb_);
    publish("EMSSessionFactory", first);
    EXPECT_THROW(publish("EMSSessionFactory", second), CORBA::BAD_PARAM);
    EXPECT_THROW(publish("Other", first), CORBA::BAD_PARAM);
    EXPECT_THROW(publish("", second), CORBA::BAD_PARAM);
    EXPECT_THROW(publishKey(orb_.orb(), "Other", nullptr, second.inProcess()), CORBA::BAD_PARAM);
    const nmsSession::NmsSession_I_var known = byKey("EMSSessionFactory");
    known->ping();
    EXPECT_EQ(first.servant().pings, 1);
}

TEST_F(Callers, KeepAPublishedServantAliveUntilTheKeyIsWithdrawn) {
    std::atomic<bool> ended{false};
    auto* servant = new ScriptedSession;
    servant->onEnd = [&] { ended = true; };
    publishKey(orb_.orb(), "EMSSessionFactory", servant, CORBA::Object::_nil());
    servant->_remove_ref();
    EXPECT_FALSE(ended);
    const nmsSession::NmsSession_I_var known = byKey("EMSSessionFactory");
    EXPECT_NO_THROW(known->ping());
    withdrawKey(orb_.orb(), "EMSSessionFactory");
    EXPECT_TRUE(waitUntil([&] { return ended.load(); }));
}

}  // namespace
