// Habits of NMS in the field: how the EMS treats an NMS that does less, or more, than the standard
// requires.

#include <cos/CosNotifyChannelAdmin.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "adapter/session_source.h"
#include "support/agent_fixture.h"
#include "support/trace_capture.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

const AgentOptions kRounds = AgentOptions().withRoundsEvery(1);

/// The session object of an NMS that implements no operation. It exists because getEmsSession
/// requires one.
class BareNms final : public virtual POA_nmsSession::NmsSession_I {
  public:
    std::atomic<int> calls{0};

    void ping() override { refuse(); }
    void endSession() override { refuse(); }
    session::Session_I_ptr associatedSession() override {
        refuse();
        return session::Session_I::_nil();
    }
    void eventLossOccurred(const char*, const char*) override { refuse(); }
    void eventLossCleared(const char*) override { refuse(); }
    void alarmLossOccurred(const char*, const char*) override { refuse(); }

  private:
    void refuse() {
        ++calls;
        throw CORBA::NO_IMPLEMENT();
    }
};

/// A BareNms and the reference with which it logs in.
class BareNmsObject {
  public:
    BareNmsObject(const RunningAgent& agent, unsigned index) : servant_(new BareNms) {
        const PortableServer::ObjectId_var id = agent.root()->activate_object(servant_);
        const PortableServer::ServantBase_var owner(servant_);  // from here on the POA owns it
        const CORBA::Object_var own = agent.root()->id_to_reference(id.in());
        const CORBA::Object_var remote =
            referenceOverTheWire(agent.orb(), own.in(), spelledLoopback(index), agent.port());
        reference_ = nmsSession::NmsSession_I::_unchecked_narrow(remote.in());
    }
    BareNms* operator->() const { return servant_; }
    nmsSession::NmsSession_I_ptr reference() const { return reference_.in(); }

  private:
    BareNms* servant_;  // lives as long as the ORB
    nmsSession::NmsSession_I_var reference_;
};

void useManager(const RunningAgent& agent, emsSession::EmsSession_I_ptr session) {
    common::CapabilityList_T_var capabilities;
    agent.remoteManager(session)->getCapabilities(capabilities.out());
}

TEST(NmsHabits, ImplementingNoOperationOfTheSessionCostsTheSessionAfterFiveRoundsOnly) {
    RunningAgent agent(kRounds);
    const BareNmsObject bare(agent, 9);
    const emsSession::EmsSession_I_var session = agent.logIn(bare.reference());
    const emsSession::EmsSession_I_var other = agent.logIn(agent.nms(1));
    useManager(agent, session.in());
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 1; }))
        << "it fails every ping";
    EXPECT_EQ(bare->calls, 4);
    other->ping();
    const emsSession::EmsSession_I_var again = agent.logIn(bare.reference());
    useManager(agent, again.in());
}

TEST(NmsHabits, ImplementingNoOperationOfTheSessionIsHarmlessWithoutPings) {
    RunningAgent agent(kRounds.with(0, false));
    const BareNmsObject bare(agent, 9);
    const emsSession::EmsSession_I_var session = agent.logIn(bare.reference());
    const emsSession::EmsSession_I_var over = agent.logIn(agent.nms(2));
    over->endSession();
    // the round that erases the second session has also checked the first one
    ASSERT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 1; }));
    useManager(agent, session.in());
    EXPECT_EQ(bare->calls, 0)
        << "nobody asks for the associated session either, which many leave nil";
}

TEST(NmsHabits, HavingNoAlarmLossOccurredIsHarmlessAsTheEmsCallsEventLossOccurredOnly) {
    class NmsWithoutAlarmLoss final : public NmsServant {
        void alarmLossOccurred(const char*, const char*) override { throw CORBA::NO_IMPLEMENT(); }
    };
    RunningAgent agent(kRounds);
    auto* const servant = new NmsWithoutAlarmLoss;
    const PortableServer::ObjectId_var id = agent.root()->activate_object(servant);
    const PortableServer::ServantBase_var owner(servant);
    const CORBA::Object_var own = agent.root()->id_to_reference(id.in());
    const CORBA::Object_var remote =
        referenceOverTheWire(agent.orb(), own.in(), spelledLoopback(9), agent.port());
    const nmsSession::NmsSession_I_var nms =
        nmsSession::NmsSession_I::_unchecked_narrow(remote.in());
    const emsSession::EmsSession_I_var session = agent.logIn(nms.in());
    agent.sessions().NotifyEventLossOccurred("20260101120000Z", "4711");
    EXPECT_TRUE(waitUntil([&] { return servant->losses == 1; }));
    agent.sessions().NotifyEventLossCleared("20260101130000Z");
    EXPECT_TRUE(waitUntil([&] { return servant->clears == 1; }));
    const int pings = servant->pings;
    EXPECT_TRUE(waitUntil([&] { return servant->pings >= pings + 2; }));
    session->ping();
}

TEST(NmsHabits, PingingTheEmsInsideItsPingIsAnswered) {
    RunningAgent agent(kRounds);
    emsSession::EmsSession_I_var remote;
    std::mutex lock;
    agent.nms()->onPing = [&] {
        const std::lock_guard guard(lock);
        if (!CORBA::is_nil(remote.in()))
            remote->ping();
    };
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    {
        const std::lock_guard guard(lock);
        remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    }
    const int pings = agent.nms()->pings;
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->pings >= pings + 2; }));
    EXPECT_EQ(agent.listed(agent.nms())->source()->get_ping_failures(), 0);
    // stop before the objects that the ping uses are destroyed
    agent.stop();
}

TEST(NmsHabits, EndingTheSessionInsideThePingEndsIt) {
    RunningAgent agent(kRounds);
    emsSession::EmsSession_I_var remote;
    std::mutex lock;
    agent.nms()->onPing = [&] {
        const std::lock_guard guard(lock);
        if (!CORBA::is_nil(remote.in()))
            remote->endSession();
    };
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    {
        const std::lock_guard guard(lock);
        remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    }
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().SessionCount() == 0; }));
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
    EXPECT_EQ(agent.nms()->ends, 0) << "an NMS that ended its session itself gets no endSession";
    // stop before the objects that the ping uses are destroyed
    agent.stop();
}

TEST(NmsHabits, EndingTheSessionInsideTheEmssEndSessionLetsTheStopGoOn) {
    RunningAgent agent(kRounds);
    emsSession::EmsSession_I_var remote;
    agent.nms()->onEnd = [&] {
        remote->endSession();
        try {
            remote->ping();
        } catch (const CORBA::SystemException&) {
            // the session may be over by now
        }
    };
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    agent.endSessions();
    EXPECT_EQ(agent.sessions().SessionCount(), 0u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 0u);
    // endSession is oneway: the call may still be on its way
    EXPECT_TRUE(waitUntil([&] { return agent.nms()->ends == 1; }));
}

TEST(NmsHabits, ManagersOfAnEarlierLogInAreGoneAndThoseOfTheNewOneWork) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var first = agent.logIn(agent.nms());
    const common::Common_I_var old = agent.remoteManager(first.in());
    const emsSession::EmsSession_I_var second = agent.logIn(agent.nms());
    common::CapabilityList_T_var capabilities;
    EXPECT_TRUE(
        waitUntil([&] { return isGone([&] { old->getCapabilities(capabilities.out()); }); }));
    useManager(agent, second.in());
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
}

TEST(NmsHabits, ConsumersOfAnEarlierLogInGoOnGettingEvents) {
    using namespace CosNotifyChannelAdmin;
    RunningAgent agent;
    ASSERT_EQ(NS_CORBA::SuppilerMgr::Instance()->Start(0), 0);
    const auto factory = agent.remoteFactory();
    emsSession::EmsSession_I_var session;
    const auto logIn = [&] {
        factory->getEmsSession("admin", "secret", agent.nms().reference(), session.out());
    };
    logIn();
    EventChannel_var own;
    session->getEventChannel(own.out());
    const auto channel = agent.overTheWire<EventChannel>(own.in());
    const ConsumerAdmin_var ownAdmin = channel->default_consumer_admin();
    const auto admin = agent.overTheWire<ConsumerAdmin>(ownAdmin.in());
    ProxyID id = 0;
    const ProxySupplier_var ownProxy =
        admin->obtain_notification_pull_supplier(STRUCTURED_EVENT, id);
    const auto proxy = agent.overTheWire<StructuredProxyPullSupplier>(ownProxy.in());
    proxy->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
    const auto gets = [&](const char* name) {
        CosNotification::StructuredEvent event;
        event.header.fixed_header.event_name = CORBA::string_dup(name);
        EXPECT_EQ(NS_CORBA::SuppilerMgr::Instance()->PushEvent(event), 0);
        return waitUntil([&] {
            CORBA::Boolean hasEvent = false;
            const CosNotification::StructuredEvent_var got =
                proxy->try_pull_structured_event(hasEvent);
            return hasEvent && std::string(got->header.fixed_header.event_name.in()) == name;
        });
    };
    EXPECT_TRUE(gets("before"));
    logIn();
    EXPECT_TRUE(gets("after")) << "the NMS uses what it has";
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    NS_CORBA::SuppilerMgr::Instance()->ExitThread();
}

TEST(NmsHabits, LoggingInAgainAndAgainIsSlowedDownAndLeavesOneSession) {
    constexpr int kFree = 3;
    constexpr int kSlowed = 2;
    RunningAgent agent(AgentOptions().withSession("log_ins_at_once = 3\n"));
    const auto factory = agent.remoteFactory();
    const auto begin = std::chrono::steady_clock::now();
    emsSession::EmsSession_I_var session;
    for (int i = 0; i < kFree + kSlowed; ++i)
        factory->getEmsSession("admin", "secret", agent.nms().reference(), session.out());
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(kSlowed) / 2)
        << "each beyond the free ones waits a second, unless one has become free meanwhile";
    EXPECT_EQ(agent.sessions().SessionCount(), 1u);
    EXPECT_EQ(agent.liveLogins(agent.nms()), 1u);
    session->ping();
}

TEST(NmsHabits, AnotherNmsIsNotSlowedDownByOneThatLogsInAgainAndAgain) {
    RunningAgent agent(AgentOptions().withSession("log_ins_at_once = 1\n"));
    const TraceCapture trace;
    const auto factory = agent.remoteFactory();
    emsSession::EmsSession_I_var session;
    const auto waits = [&](unsigned nms) {
        return trace.contains("NMS-<" + agent.nms(nms).hostInfo() +
                              "> logs in without a pause and waits!");
    };
    for (int i = 0; i < 50 && !waits(1); ++i)
        factory->getEmsSession("admin", "secret", agent.nms(1).reference(), session.out());
    EXPECT_TRUE(waits(1));
    factory->getEmsSession("admin", "secret", agent.nms(2).reference(), session.out());
    EXPECT_FALSE(waits(2));
}

TEST(NmsHabits, PingingBeforeEveryCallIsServed) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto remote = agent.overTheWire<emsSession::EmsSession_I>(session.in());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    for (int i = 0; i < 200; ++i) {
        remote->ping();
        common::CapabilityList_T_var capabilities;
        manager->getCapabilities(capabilities.out());
    }
    EXPECT_EQ(agent.manager().calls, 200);
}

}  // namespace
