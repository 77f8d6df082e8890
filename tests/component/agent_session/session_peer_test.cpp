// References that others cannot use: a session's objects may be called only from the address that
// logged in.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "adapter/session_source.h"
#include "component/corbabase/open_logs.h"
#include "session/silence_threads.h"
#include "support/agent_fixture.h"
#include "support/tcp_relay.h"
#include "support/test_iterator.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using kelp::oplog::LogEntry;

/// A caller at an address of this host.
class Caller {
  public:
    Caller(RunningAgent& agent, const std::string& address)
        : agent_(agent), relay_(agent.port(), address) {}

    /// Return the object as this caller reaches it.
    template <class I>
    typename I::_var_type reach(CORBA::Object_ptr object) const {
        const CORBA::Object_var remote =
            referenceOverTheWire(agent_.orb(), object, "127.0.0.1", relay_.port());
        return typename I::_var_type(I::_unchecked_narrow(remote.in()));
    }
    emsSession::EmsSession_I_var logIn(
        const TestNms& nms, const std::string& password = RunningAgent::kPassword) const {
        const auto factory = reach<emsSessionFactory::EmsSessionFactory_I>(
            CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj());
        emsSession::EmsSession_I_var session;
        factory->getEmsSession("admin", password.c_str(), nms.reference(), session.out());
        return reach<emsSession::EmsSession_I>(session.in());
    }

  private:
    RunningAgent& agent_;
    TcpRelay relay_;
};

void call(common::Common_I_ptr manager) {
    common::CapabilityList_T_var capabilities;
    manager->getCapabilities(capabilities.out());
}

class SessionPeer : public testing::Test {
  protected:
    explicit SessionPeer(const AgentOptions& options = {}) : agent_(options) {}
    common::Common_I_var managerOf(emsSession::EmsSession_I_ptr session) {
        common::Common_I_var manager;
        session->getManager("EMS", manager.out());
        return owner_.reach<common::Common_I>(manager.in());
    }
    common::Common_I_var iterator() {
        const PortableServer::POA_var top = agent_.listed(agent_.nms())->source()->get_POA();
        const PortableServer::POA_var poa = top->find_POA("iterator", false);
        CORBA::Object_var reference;
        EXPECT_EQ(agent_.sessions().add_iterator(new TestIterator(poa.in(), alive_), reference),
                  0ul);
        return owner_.reach<common::Common_I>(reference.in());
    }

    std::atomic<int> alive_{0};
    RunningAgent agent_;
    Caller owner_{agent_, "127.0.0.1"};
    Caller thief_{agent_, "127.0.0.2"};
};

TEST_F(SessionPeer, IsTheOnlyOneWhoMayCallTheSessionItsManagersAndItsIterators) {
    const auto session = owner_.logIn(agent_.nms());
    const common::Common_I_var manager = managerOf(session.in());
    const common::Common_I_var list = iterator();
    const auto stolen = thief_.reach<emsSession::EmsSession_I>(session.in());
    stolen->endSession();  // oneway
    EXPECT_THROW(stolen->ping(), CORBA::NO_PERMISSION);
    EXPECT_THROW(managerOf(stolen.in()), CORBA::NO_PERMISSION);
    EXPECT_THROW(stolen->_non_existent(), CORBA::NO_PERMISSION);
    CosNotifyChannelAdmin::EventChannel_var channel;
    EXPECT_THROW(stolen->getEventChannel(channel.out()), CORBA::NO_PERMISSION);
    EXPECT_THROW(call(thief_.reach<common::Common_I>(manager.in()).in()), CORBA::NO_PERMISSION);
    EXPECT_THROW(call(thief_.reach<common::Common_I>(list.in()).in()), CORBA::NO_PERMISSION);

    session->ping();
    EXPECT_EQ(agent_.manager().calls, 0);
    call(manager.in());
    EXPECT_EQ(agent_.manager().calls, 1);
    call(list.in());
    session->endSession();
    EXPECT_TRUE(waitUntil([&] { return alive_ == 0; }));
}

TEST_F(SessionPeer, MayBeAnyAddressOnlyWhenConfigured) {
    const auto session = owner_.logIn(agent_.nms());
    const auto elsewhere = thief_.reach<emsSession::EmsSession_I>(session.in());
    EXPECT_THROW(elsewhere->ping(), CORBA::NO_PERMISSION);
    agent_.configure(AgentOptions{.accessLines = "session_peer = \"any\"\n"});
    elsewhere->ping();
    agent_.configure(AgentOptions{});
    EXPECT_THROW(elsewhere->ping(), CORBA::NO_PERMISSION);
    session->ping();
}

TEST_F(SessionPeer, OfEachSessionIsItsOwn) {
    const auto mine = owner_.logIn(agent_.nms(1));
    const auto theirs = thief_.logIn(agent_.nms(2));
    EXPECT_THROW(thief_.reach<emsSession::EmsSession_I>(mine.in())->ping(), CORBA::NO_PERMISSION);
    EXPECT_THROW(owner_.reach<emsSession::EmsSession_I>(theirs.in())->ping(), CORBA::NO_PERMISSION);
    mine->ping();
    theirs->ping();
}

TEST_F(SessionPeer, MayBeAnyoneAfterALogInInsideTheProcess) {
    const emsSession::EmsSession_I_var session = agent_.logIn(agent_.nms());
    thief_.reach<emsSession::EmsSession_I>(session.in())->ping();
    owner_.reach<emsSession::EmsSession_I>(session.in())->ping();
}

TEST_F(SessionPeer, DoesNotConcernCallsInsideTheProcess) {
    const auto session = owner_.logIn(agent_.nms());
    agent_.listed(agent_.nms())->endSession();
    EXPECT_TRUE(isGone([&] { session->ping(); }));
}

TEST_F(SessionPeer, IsHeldAgainstAStrangerInTheSecurityLogOnly) {
    const TemporaryDirectory folder;
    agent_.configure(AgentOptions{.tables = OpenLogs::toml(folder)});
    const OpenLogs logs(folder);
    const auto session = owner_.logIn(agent_.nms());
    const auto stolen = thief_.reach<emsSession::EmsSession_I>(session.in());
    for (int i = 0; i < 50; ++i)
        EXPECT_THROW(stolen->ping(), CORBA::NO_PERMISSION);
    session->ping();

    const std::vector<LogEntry> operations = logs.operations();
    ASSERT_THAT(operations, testing::SizeIs(2)) << "the log-in and the owner's call";
    EXPECT_EQ(operations[1].operation, "ping");
    EXPECT_EQ(operations[1].user, "admin");
    std::vector<LogEntry> refusals;
    for (const LogEntry& each : logs.security()) {
        if (each.operation == "refused-peer")
            refusals.push_back(each);
    }
    ASSERT_THAT(refusals, testing::SizeIs(21)) << "20 one by one, the others in one record";
    EXPECT_THAT(refusals[0].peer, testing::StartsWith("127.0.0.2:"));
    EXPECT_EQ(refusals[0].object, "ping");
    EXPECT_EQ(refusals[0].outcome, "NO_PERMISSION");
    EXPECT_EQ(refusals[0].user, "") << "nobody acts in the victim's name";
    EXPECT_EQ(refusals[0].detail, "session of admin at " + agent_.nms().hostInfo());
    EXPECT_THAT(refusals[20].detail, testing::StartsWith("30 more until "));
}

class SessionPeerWithReuse : public SessionPeer {
  protected:
    SessionPeerWithReuse() : SessionPeer(AgentOptions().withReuse()) {}
};

TEST_F(SessionPeerWithReuse, IsWhoTookTheSessionUpLast) {
    const auto session = owner_.logIn(agent_.nms());
    EXPECT_NE(refusalOf([&] { thief_.logIn(agent_.nms(), "guess"); }), 0ul);
    session->ping();
    EXPECT_THROW(thief_.reach<emsSession::EmsSession_I>(session.in())->ping(),
                 CORBA::NO_PERMISSION);

    const auto moved = thief_.logIn(agent_.nms());
    EXPECT_TRUE(moved->_is_equivalent(thief_.reach<emsSession::EmsSession_I>(session.in()).in()));
    moved->ping();
    EXPECT_THROW(session->ping(), CORBA::NO_PERMISSION);
    EXPECT_EQ(agent_.sessions().SessionCount(), 1u);
}

class SessionPeerBySilence : public SessionPeer {
  protected:
    SessionPeerBySilence()
        : SessionPeer(AgentOptions{.releaseStrategy = 2, .pingMode = true, .silentTimeS = 86400}) {}
};

TEST_F(SessionPeerBySilence, AloneGivesSignsOfLife) {
    const auto session = owner_.logIn(agent_.nms());
    auto listed = agent_.listed(agent_.nms());
    ASSERT_TRUE(agent_.sessions().SpawnWaiting(listed.get(), theWaiting));
    std::uint64_t seen = 0;
    const auto wasSignalled = [&] {
        return listed->wakePoint().wait(
                   0, seen, [] { return true; }, [] { return false; }) == WaitEnd::Activity;
    };
    wasSignalled();
    emsSession::EmsSession_I::managerNames_T_var names;
    const auto stolen = thief_.reach<emsSession::EmsSession_I>(session.in());
    EXPECT_THROW(stolen->getSupportedManagers(names.out()), CORBA::NO_PERMISSION);
    EXPECT_FALSE(wasSignalled());
    session->getSupportedManagers(names.out());
    EXPECT_TRUE(wasSignalled());
}

}  // namespace
