// How calls on a session's manager references find the shared servant, and what happens to iterators.

#include "adapter/iteratoractivator.h"
#include "adapter/servantlocator.h"
#include "adapter/sessionsource.h"

#include "support/agent_fixture.h"
#include "support/trace_capture.h"

#include <kelp/orb/poas.h>
#include <mtnm/globaldefs.h>

#include <gtest/gtest.h>

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

constexpr const char* kCommonId = "IDL:mtnm.tmforum.org/common/Common_I:1.0";

PortableServer::ObjectId_var idOf(const char* text) {
    return PortableServer::ObjectId_var(PortableServer::string_to_ObjectId(text));
}

class CountedIterator : public virtual POA_globaldefs::NamingAttributesIterator_I {
  public:
    explicit CountedIterator(std::atomic<int>& alive) : alive_(alive) { ++alive_; }
    CORBA::Boolean next_n(CORBA::ULong, globaldefs::NamingAttributesList_T_out list) override {
        list = new globaldefs::NamingAttributesList_T;
        return false;
    }
    CORBA::ULong getLength() override { return 0; }
    void destroy() override {}

  protected:
    ~CountedIterator() override { --alive_; }

  private:
    std::atomic<int>& alive_;
};

PortableServer::POA_var iteratorPoaOf(const SessionSource& source) {
    const PortableServer::POA_var top = source.get_POA();
    return PortableServer::POA_var(top->find_POA("iterator", false));
}

/// Activates an iterator in the session's POA and lists it; the registry and the POA hold a reference each.
CountedIterator* addIterator(RunningAgent& agent, const SessionSource& source, std::atomic<int>& alive) {
    auto* iterator = new CountedIterator(alive);
    const PortableServer::POA_var poa = iteratorPoaOf(source);
    const PortableServer::ObjectId_var id = poa->activate_object(iterator);
    EXPECT_EQ(agent.sessions().list_iterator(iterator), 0);
    return iterator;
}

TEST(ManagerReferences, ReachTheOneSharedServantFromEverySession) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var one = agent.logIn(agent.nms(1));
    const emsSession::EmsSession_I_var two = agent.logIn(agent.nms(2));
    common::CapabilityList_T_var list;
    agent.remoteManager(one.in())->getCapabilities(list.out());
    agent.remoteManager(two.in())->getCapabilities(list.out());
    EXPECT_EQ(agent.manager().calls, 2);
}

TEST(ManagerReferences, ServantIsReleasedAfterEveryCall) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    const CORBA::ULong before = agent.manager()._refcount_value();
    CORBA::ULong during = 0;
    agent.manager().onCall = [&] { during = agent.manager()._refcount_value(); };
    common::CapabilityList_T_var list;
    manager->getCapabilities(list.out());
    EXPECT_GT(during, before);
    EXPECT_TRUE(waitUntil([&] { return agent.manager()._refcount_value() == before; }));
}

TEST(ManagerReferences, UnknownNameDoesNotExist) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    const CORBA::Object_var object = listed->source()->create_object_reference("Nobody", kCommonId);
    const auto remote = agent.overTheWire<common::Common_I>(object.in());
    common::CapabilityList_T_var list;
    try {
        remote->getCapabilities(list.out());
        FAIL() << "an unknown manager answered";
    } catch (const CORBA::OBJECT_NOT_EXIST& ex) {
        EXPECT_EQ(ex.minor(), 0u);
        EXPECT_EQ(ex.completed(), CORBA::COMPLETED_NO);
    }
    EXPECT_TRUE(remote->_non_existent());
}

TEST(ManagerReferences, IdThatIsNoTextDoesNotExist) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    const PortableServer::POA_var top = listed->source()->get_POA();
    PortableServer::ObjectId_var id = idOf("EMS");
    id->length(4);
    id[3] = 0;
    id[1] = 0;
    const CORBA::Object_var object = top->create_reference_with_id(id.in(), kCommonId);
    const auto remote = agent.overTheWire<common::Common_I>(object.in());
    common::CapabilityList_T_var list;
    EXPECT_THROW(remote->getCapabilities(list.out()), CORBA::OBJECT_NOT_EXIST);
}

TEST(ManagerReferences, DieWithTheirSession) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const common::Common_I_var manager = agent.remoteManager(session.in());
    common::CapabilityList_T_var list;
    manager->getCapabilities(list.out());
    agent.listed(agent.nms())->endSession();
    EXPECT_TRUE(isGone([&] { manager->getCapabilities(list.out()); }));
    EXPECT_EQ(agent.manager().calls, 1);
}

TEST(Locator, RefusesNullInputsWithATrace) {
    RunningAgent agent;
    TraceCapture trace;
    const PortableServer::ServantLocator_var keeper = new TAServantLocator;
    void* cookie = nullptr;
    EXPECT_EQ(keeper->preinvoke(idOf("EMS").in(), PortableServer::POA::_nil(), "ping", cookie), nullptr);
    EXPECT_EQ(keeper->preinvoke(idOf("EMS").in(), agent.root(), nullptr, cookie), nullptr);
    EXPECT_EQ(trace.count("[preinvoke] exception for input parameter is null!"), 2u);
}

TEST(Locator, RefusesWhileTheTreeIsDying) {
    RunningAgent agent;
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    const PortableServer::POA_var top = listed->source()->get_POA();
    const PortableServer::ServantLocator_var locator = new TAServantLocator;
    void* cookie = nullptr;
    PortableServer::Servant servant = locator->preinvoke(idOf("EMS").in(), top.in(), "ping", cookie);
    ASSERT_NE(servant, nullptr);
    locator->postinvoke(idOf("EMS").in(), top.in(), "ping", cookie, servant);
    listed->endSession();
    EXPECT_THROW(locator->preinvoke(idOf("EMS").in(), top.in(), "ping", cookie), CORBA::OBJECT_NOT_EXIST);
}

TEST(Iterators, AreGoneAndUnlistedWithTheirSession) {
    RunningAgent agent;
    std::atomic<int> alive{0};
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    for (int i = 0; i < 5; ++i)
        addIterator(agent, *listed->source(), alive);
    EXPECT_EQ(agent.sessions().IteratorCount(), 5u);
    listed->endSession();
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().IteratorCount() == 0 && alive == 0; }));
}

TEST(Iterators, DeactivatedOneIsUnlistedAndStaysDead) {
    RunningAgent agent;
    std::atomic<int> alive{0};
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    CountedIterator* iterator = addIterator(agent, *listed->source(), alive);
    const PortableServer::POA_var poa = iteratorPoaOf(*listed->source());
    const PortableServer::ObjectId_var id = poa->servant_to_id(iterator);
    const CORBA::Object_var object = poa->id_to_reference(id.in());
    const auto remote = agent.overTheWire<globaldefs::NamingAttributesIterator_I>(object.in());
    EXPECT_EQ(remote->getLength(), 0u);
    poa->deactivate_object(id.in());
    EXPECT_TRUE(waitUntil([&] { return agent.sessions().IteratorCount() == 0 && alive == 0; }));
    EXPECT_THROW(remote->getLength(), CORBA::OBJECT_NOT_EXIST);
}

TEST(Iterators, WithAnotherActivationStaysListed) {
    RunningAgent agent;
    std::atomic<int> alive{0};
    const emsSession::EmsSession_I_var session = agent.logIn(agent.nms());
    const auto listed = agent.listed(agent.nms());
    CountedIterator* iterator = addIterator(agent, *listed->source(), alive);
    const PortableServer::ServantActivator_var activator = new IteratorServantActivator;
    const PortableServer::POA_var poa = iteratorPoaOf(*listed->source());
    activator->etherealize(idOf("x").in(), poa.in(), iterator, false, true);
    EXPECT_EQ(agent.sessions().IteratorCount(), 1u);
    EXPECT_EQ(alive, 1);
    activator->etherealize(idOf("x").in(), poa.in(), nullptr, false, false);
    EXPECT_EQ(agent.sessions().IteratorCount(), 1u);
}

TEST(Iterators, AreNeverMadeByTheActivator) {
    RunningAgent agent;
    const PortableServer::ServantActivator_var activator = new IteratorServantActivator;
    EXPECT_THROW(activator->incarnate(idOf("x").in(), agent.root()), CORBA::OBJECT_NOT_EXIST);
}

TEST(Iterators, RemovingOneThatIsNotListedDoesNothing) {
    RunningAgent agent;
    std::atomic<int> alive{0};
    const PortableServer::ServantBase_var iterator = new CountedIterator(alive);
    EXPECT_EQ(agent.sessions().remove_iterator(iterator.in()), 0);
    EXPECT_EQ(alive, 1);
}

}  // namespace
