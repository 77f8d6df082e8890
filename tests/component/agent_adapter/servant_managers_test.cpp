// The servant locator of managers and the activator of iterators.

#include <gtest/gtest.h>
#include <kelp/orb/poas.h>

#include <thread>

#include "adapter/iterator_activator.h"
#include "adapter/servant_locator.h"
#include "source_fixture.h"
#include "support/latch.h"
#include "support/test_iterator.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

class ServantManagers : public testing::Test {
  protected:
    ServantManagers() {
        session_ = agent_.logIn(agent_.nms());
        top_ = agent_.listed(agent_.nms())->source()->get_POA();
        iterators_ = top_->find_POA("iterator", false);
    }
    /// Return a reference to the session's manager of that name, called over a connection.
    common::Common_I_var remote(const char* name) {
        const CORBA::Object_var object =
            agent_.listed(agent_.nms())->source()->create_object_reference(name, "IDL:test:1.0");
        return agent_.overTheWire<common::Common_I>(object.in());
    }
    static void call(common::Common_I_ptr object) {
        common::CapabilityList_T_var capabilities;
        object->getCapabilities(capabilities.out());
    }
    /// Return an active iterator, listed like one that a manager has created. The list and the POA
    /// own it.
    TestManager* openIterator() {
        auto* const iterator = new TestIterator(iterators_.in(), alive_);
        EXPECT_EQ(agent_.sessions().add_iterator(iterator), 0ul);
        return iterator;
    }
    common::Common_I_var remoteIterator(TestManager* iterator) {
        const CORBA::Object_var object = iterators_->servant_to_reference(iterator);
        return agent_.overTheWire<common::Common_I>(object.in());
    }

    std::atomic<int> alive_{0};
    RunningAgent agent_;
    emsSession::EmsSession_I_var session_;
    PortableServer::POA_var top_;
    PortableServer::POA_var iterators_;
};

PortableServer::ObjectId_var idOf(const char* text) {
    return PortableServer::ObjectId_var(PortableServer::string_to_ObjectId(text));
}

// -- locator

TEST_F(ServantManagers, ServeTheManagerOfTheObjectsId) {
    call(remote("EMS").in());
    EXPECT_EQ(agent_.manager().calls, 1);
}

TEST_F(ServantManagers, FindNoObjectUnderAnUnknownName) {
    for (const char* name : {"ems", "Protection", ""}) {
        try {
            call(remote(name).in());
            ADD_FAILURE() << name;
        } catch (const CORBA::OBJECT_NOT_EXIST& ex) {
            EXPECT_EQ(ex.minor(), kelp::orb::unknownObject().minor());
            EXPECT_EQ(ex.completed(), CORBA::COMPLETED_NO);
        }
        EXPECT_TRUE(remote(name)->_non_existent());
    }
    PortableServer::ObjectId noText;
    noText.length(3);
    noText[0] = 'E';
    noText[1] = 0;
    noText[2] = 'S';
    const CORBA::Object_var object = top_->create_reference_with_id(noText, "IDL:test:1.0");
    EXPECT_THROW(call(agent_.overTheWire<common::Common_I>(object.in()).in()),
                 CORBA::OBJECT_NOT_EXIST);
}

TEST_F(ServantManagers, ServeNoIdWithoutTheSessionsToken) {
    const auto session = agent_.listed(agent_.nms());
    const PortableServer::ObjectId_var good = session->source()->token().idOf("EMS");
    const PortableServer::ObjectId_var guessed = NS_CORBA::SessionToken().idOf("EMS");
    const PortableServer::ObjectId_var bare = PortableServer::string_to_ObjectId("EMS");
    PortableServer::ObjectId longer = good.in();
    longer.length(longer.length() + 1);
    longer[longer.length() - 1] = 'x';
    PortableServer::ObjectId shorter = good.in();
    shorter.length(shorter.length() - 1);
    const auto callWith = [&](const PortableServer::ObjectId& id) {
        const CORBA::Object_var object = top_->create_reference_with_id(id, "IDL:test:1.0");
        call(agent_.overTheWire<common::Common_I>(object.in()).in());
    };
    for (const PortableServer::ObjectId& id : {guessed.in(), bare.in(), longer, shorter})
        EXPECT_THROW(callWith(id), CORBA::OBJECT_NOT_EXIST);
    EXPECT_EQ(agent_.manager().calls, 0);
    callWith(good.in());
    EXPECT_EQ(agent_.manager().calls, 1);
}

TEST_F(ServantManagers, ServeTheTokenThatWasSetLast) {
    const NS_CORBA::SessionToken before;
    const NS_CORBA::SessionToken after;
    const PortableServer::ServantLocator_var locator = new TAServantLocator;
    auto& servants = dynamic_cast<TAServantLocator&>(*locator.in());
    servants.setToken(before);
    servants.setToken(after);
    const PortableServer::ObjectId_var old = before.idOf("EMS");
    const PortableServer::ObjectId_var good = after.idOf("EMS");
    void* cookie = nullptr;
    EXPECT_THROW(servants.preinvoke(old.in(), top_.in(), "x", cookie), CORBA::OBJECT_NOT_EXIST);
    const PortableServer::ServantBase_var found =
        servants.preinvoke(good.in(), top_.in(), "x", cookie);
    EXPECT_EQ(found.in(), static_cast<PortableServer::Servant>(&agent_.manager()));
}

TEST_F(ServantManagers, ServeAManagerThatIsEnteredLater) {
    const common::Common_I_var late = remote("Late");
    EXPECT_THROW(call(late.in()), CORBA::OBJECT_NOT_EXIST);
    const auto manager = ServantRef<TestManager>::take(new TestManager(alive_));
    CorbaAgentConfig::Instance()->RegisterServant("Late", manager.get());
    call(late.in());
    EXPECT_EQ(manager->calls, 1);
}

TEST_F(ServantManagers, PinAServantForTheLengthOfACall) {
    TAServantLocator locator;
    void* cookie = &locator;
    const auto id = idOf("EMS");
    const PortableServer::Servant servant = locator.preinvoke(id.in(), top_.in(), "x", cookie);
    EXPECT_EQ(servant, static_cast<PortableServer::Servant>(&agent_.manager()));
    EXPECT_EQ(agent_.manager()._refcount_value(), 2u);
    EXPECT_EQ(cookie, &locator) << "the cookie is left as it is";
    locator.postinvoke(id.in(), top_.in(), "x", cookie, servant);
    EXPECT_EQ(agent_.manager()._refcount_value(), 1u);
    locator.postinvoke(id.in(), top_.in(), "x", cookie, nullptr);
    call(remote("EMS").in());
    EXPECT_TRUE(waitUntil([&] { return agent_.manager()._refcount_value() == 1; }));
}

TEST_F(ServantManagers, GiveNoServantForNullInputs) {
    TAServantLocator locator;
    void* cookie = nullptr;
    const auto id = idOf("EMS");
    const TraceCapture trace;
    EXPECT_EQ(locator.preinvoke(id.in(), PortableServer::POA::_nil(), "x", cookie), nullptr);
    EXPECT_EQ(locator.preinvoke(id.in(), top_.in(), nullptr, cookie), nullptr);
    EXPECT_EQ(trace.count("[preinvoke] exception for input parameter is null!"), 2u);
}

TEST_F(ServantManagers, RefuseNewCallsWhileTheTreeDiesEvenIfAnOldOneRuns) {
    Latch gate;
    agent_.manager().onCall = [&] { gate.pass(); };
    const common::Common_I_var manager = remote("EMS");
    std::thread running([&] {
        kelp::orb::setThreadTimeout(std::chrono::seconds(60));
        EXPECT_NO_THROW(call(manager.in()));
    });
    EXPECT_TRUE(gate.isReached());
    session_->endSession();
    EXPECT_TRUE(isGone([&] { call(manager.in()); }));
    TAServantLocator locator;
    void* cookie = nullptr;
    const auto id = idOf("EMS");
    EXPECT_THROW(locator.preinvoke(id.in(), top_.in(), "x", cookie), CORBA::OBJECT_NOT_EXIST);
    EXPECT_EQ(agent_.manager().calls, 1);
    gate.open();
    running.join();
}

TEST_F(ServantManagers, FindNoObjectAfterTheSessionManagerIsDestroyed) {
    TAServantLocator locator;
    void* cookie = nullptr;
    const auto id = idOf("EMS");
    agent_.requestExit();
    const PortableServer::POA_var other =
        SessionSource::create_ServantLocator_poa(agent_.root(), "other");
    agent_.endSessions();
    SessionMgr::Destroy();
    EXPECT_THROW(locator.preinvoke(id.in(), other.in(), "x", cookie), CORBA::OBJECT_NOT_EXIST);
    EXPECT_EQ(SessionMgr::Existing(), nullptr) << "a request must not make a new one";
}

// -- activator

TEST_F(ServantManagers, NeverReactivateAnIterator) {
    IteratorServantActivator activator;
    const auto id = idOf("x");
    EXPECT_THROW(activator.incarnate(id.in(), iterators_.in()), CORBA::OBJECT_NOT_EXIST);

    TestManager* const iterator = openIterator();
    const common::Common_I_var reference = remoteIterator(iterator);
    call(reference.in());
    const PortableServer::ObjectId_var own = iterators_->servant_to_id(iterator);
    iterators_->deactivate_object(own.in());
    EXPECT_TRUE(waitUntil([&] { return alive_ == 0; }));
    EXPECT_THROW(call(reference.in()), CORBA::OBJECT_NOT_EXIST);
}

TEST_F(ServantManagers, ReleaseADeactivatedIterator) {
    TestManager* const first = openIterator();
    openIterator();
    EXPECT_EQ(agent_.sessions().IteratorCount(), 2u);
    const PortableServer::ObjectId_var id = iterators_->servant_to_id(first);
    iterators_->deactivate_object(id.in());
    EXPECT_TRUE(waitUntil([&] { return alive_ == 1; }));
    EXPECT_EQ(agent_.sessions().IteratorCount(), 1u);
}

TEST_F(ServantManagers, ReleaseEveryIteratorOnceWithItsSession) {
    for (int i = 0; i < 5; ++i)
        openIterator();
    agent_.logIn(agent_.nms(2));
    const PortableServer::POA_var otherTop = agent_.listed(agent_.nms(2))->source()->get_POA();
    const PortableServer::POA_var otherIterators = otherTop->find_POA("iterator", false);
    auto* const other = new TestIterator(otherIterators.in(), alive_);
    ASSERT_EQ(agent_.sessions().add_iterator(other), 0ul);
    EXPECT_EQ(agent_.sessions().IteratorCount(), 6u);

    session_->endSession();
    EXPECT_TRUE(waitUntil([&] { return alive_ == 1; }))
        << "a second release would free one too many";
    EXPECT_EQ(agent_.sessions().IteratorCount(), 1u);
    EXPECT_EQ(other->_refcount_value(), 2u) << "another session's iterator is not touched";
}

TEST_F(ServantManagers, KeepAnIteratorThatIsStillActiveElsewhere) {
    TestManager* const iterator = openIterator();
    const auto mine = ServantRef<TestManager>::pin(iterator);
    IteratorServantActivator activator;
    const auto id = idOf("x");
    activator.etherealize(id.in(), iterators_.in(), iterator, false, true);
    EXPECT_EQ(agent_.sessions().IteratorCount(), 1u);
    EXPECT_EQ(mine->_refcount_value(), 3u);

    iterator->_add_ref();  // simulate a second activation
    activator.etherealize(id.in(), iterators_.in(), iterator, true, false);
    EXPECT_EQ(agent_.sessions().IteratorCount(), 0u);
    EXPECT_EQ(mine->_refcount_value(), 2u);
    activator.etherealize(id.in(), iterators_.in(), nullptr, false, false);
}

TEST_F(ServantManagers, ReleaseAnUnlistedIterator) {
    auto* const iterator = new TestManager(alive_);
    const auto mine = ServantRef<TestManager>::take(iterator);
    const PortableServer::ObjectId_var id =
        IteratorServantActivator::activate(iterators_.in(), iterator);
    iterators_->deactivate_object(id.in());
    EXPECT_TRUE(waitUntil([&] { return mine->_refcount_value() == 1; }));
}

TEST_F(ServantManagers, AreDestroyedWithTheirPoas) {
    // the servant manager is destroyed when the last reference to its POA is released
    static std::atomic<int> gone;
    gone = 0;
    class Watched : public TAServantLocator {
      protected:
        ~Watched() override { ++gone; }
    };
    {
        const PortableServer::POA_var poa =
            SessionSource::create_ServantLocator_poa(agent_.root(), "watched");
        {
            const PortableServer::ServantLocator_var locator = new Watched;
            poa->set_servant_manager(locator.in());
        }
        EXPECT_EQ(gone, 0);
        poa->destroy(true, true);
    }
    EXPECT_TRUE(waitUntil([&] { return gone == 1; }));
}

}  // namespace
