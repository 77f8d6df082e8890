// The POA tree of a session.

#include <gtest/gtest.h>
#include <kelp/orb/poas.h>

#include <chrono>
#include <set>
#include <thread>

#include "adapter/claimed_poa_names.h"
#include "adapter/iterator_activator.h"
#include "source_fixture.h"
#include "support/threads_asleep.h"
#include "support/trace_trigger.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

constexpr unsigned long kFailed = 0x411800BA;
constexpr const char* kNilParent =
    "[create_ServantLocator_poa] exception for input parameter is null!";

class SessionPoas : public SourceFixture {
  protected:
    std::string name() { return sessionNameText("admin", agent_.nms().hostInfo()); }
    static std::string nameOf(PortableServer::POA_ptr poa) {
        const CORBA::String_var text = poa->the_name();
        return std::string(text.in());
    }
    static bool isEquipped(PortableServer::POA_ptr poa) {
        const PortableServer::ServantManager_var manager = poa->get_servant_manager();
        return !CORBA::is_nil(manager.in());
    }
    static PortableServer::POA_var child(PortableServer::POA_ptr poa, const char* childName) {
        return PortableServer::POA_var(poa->find_POA(childName, false));
    }
    /// Return a servant that is deleted at the end of the scope unless a POA keeps it.
    PortableServer::ServantBase_var servant() {
        return PortableServer::ServantBase_var(new TestManager(alive_));
    }
    /// Return a destroyed POA.
    PortableServer::POA_var dead() {
        const PortableServer::POA_var poa =
            SessionSource::create_ServantLocator_poa(agent_.root(), "dead");
        poa->destroy(true, true);
        return poa;
    }

    std::atomic<int> alive_{0};
};

TEST_F(SessionPoas, AreATopNamedByTheSessionWithTwoChildren) {
    const Source source = makeWithTree();
    const PortableServer::POA_var top = source->get_POA();
    EXPECT_EQ(nameOf(top.in()), name());
    const PortableServer::POA_var parent = top->the_parent();
    EXPECT_TRUE(parent->_is_equivalent(agent_.root()));
    PortableServer::POAList_var children = top->the_children();
    ASSERT_EQ(children->length(), 2u);
    EXPECT_NO_THROW(child(top.in(), "iterator"));
    EXPECT_NO_THROW(child(top.in(), "session"));
}

TEST_F(SessionPoas, ShareThePoaManagerOfTheRoot) {
    const Source source = makeWithTree();
    const PortableServer::POA_var top = source->get_POA();
    const PortableServer::POAManager_var rootManager = agent_.root()->the_POAManager();
    for (const PortableServer::POA_var& poa :
         {top, child(top.in(), "iterator"), child(top.in(), "session")}) {
        const PortableServer::POAManager_var manager = poa->the_POAManager();
        EXPECT_TRUE(manager->_is_equivalent(rootManager.in())) << nameOf(poa.in());
    }
}

TEST_F(SessionPoas, HaveATopThatRetainsNothingAndAsksItsLocator) {
    const Source source = makeWithTree();
    const PortableServer::POA_var top = source->get_POA();
    EXPECT_TRUE(isEquipped(top.in()));
    const auto manager = servant();
    // NON_RETAIN, NO_IMPLICIT_ACTIVATION
    EXPECT_THROW(top->activate_object(manager.in()), PortableServer::POA::WrongPolicy);
    EXPECT_THROW(top->servant_to_id(manager.in()), PortableServer::POA::WrongPolicy);
    // USER_ID
    EXPECT_THROW(top->create_reference("IDL:x:1.0"), PortableServer::POA::WrongPolicy);
}

TEST_F(SessionPoas, HaveAnIteratorPoaThatActivatesAndAsksItsActivator) {
    const Source source = makeWithTree();
    const PortableServer::POA_var top = source->get_POA();
    const PortableServer::POA_var iterators = child(top.in(), "iterator");
    EXPECT_TRUE(isEquipped(iterators.in()));
    // RETAIN, USER_ID: the POA itself assigns no ids, so no iterator gets an id that can be guessed
    const auto first = servant();
    EXPECT_THROW(iterators->activate_object(first.in()), PortableServer::POA::WrongPolicy);
    const PortableServer::ObjectId_var id =
        IteratorServantActivator::activate(iterators.in(), first.in());
    const PortableServer::ServantBase_var found = iterators->id_to_servant(id.in());
    EXPECT_EQ(found.in(), first.in());
    // NO_IMPLICIT_ACTIVATION, UNIQUE_ID
    const auto second = servant();
    EXPECT_ANY_THROW(PortableServer::ObjectId_var(iterators->servant_to_id(second.in())));
    EXPECT_THROW(IteratorServantActivator::activate(iterators.in(), first.in()),
                 PortableServer::POA::ServantAlreadyActive);
    top->destroy(true, true);
}

TEST_F(SessionPoas, GiveEachIteratorAnIdWithTheSessionsToken) {
    const Source source = makeWithTree();
    const PortableServer::POA_var top = source->get_POA();
    const PortableServer::POA_var iterators = child(top.in(), "iterator");
    std::set<std::string> ids;
    for (int i = 0; i < 100; ++i) {
        const auto iterator = servant();
        const PortableServer::ObjectId_var id =
            IteratorServantActivator::activate(iterators.in(), iterator.in());
        ids.emplace(NS_CORBA::octetsOf(id.in()));
        EXPECT_TRUE(source->token().isIn(NS_CORBA::octetsOf(id.in())));
    }
    EXPECT_EQ(ids.size(), 100u);
    const auto elsewhere = servant();
    EXPECT_THROW(IteratorServantActivator::activate(agent_.root(), elsewhere.in()),
                 PortableServer::POA::WrongPolicy);
    top->destroy(true, true);
}

TEST_F(SessionPoas, HaveASessionPoaThatServesOnlyWhatIsActive) {
    const Source source = makeWithTree();
    const PortableServer::POA_var top = source->get_POA();
    const PortableServer::POA_var sessions = child(top.in(), "session");
    EXPECT_THROW(PortableServer::ServantManager_var(sessions->get_servant_manager()),
                 PortableServer::POA::WrongPolicy);
    const auto implicit = servant();
    EXPECT_ANY_THROW(PortableServer::ObjectId_var(sessions->servant_to_id(implicit.in())));
    EXPECT_THROW(sessions->activate_object(implicit.in()), PortableServer::POA::WrongPolicy);
    top->destroy(true, true);
}

TEST_F(SessionPoas, CannotBeMadeUnderANilRoot) {
    const Source source = make();
    const TraceCapture trace;
    EXPECT_EQ(source->init(PortableServer::POA::_nil()), kFailed);
    EXPECT_TRUE(trace.contains(kNilParent));
    EXPECT_TRUE(trace.contains(
        "[SessionSource::init] create_ServantLocator_poa returned a nil POA object!"));
    EXPECT_TRUE(ClaimedPoaNames::isFree(name())) << "the name is given up";
    EXPECT_EQ(source->init(agent_.root()), 0ul);
}

TEST_F(SessionPoas, TraceANilParentWithTheSameText) {
    const TraceCapture trace;
    const auto isNil = [](PortableServer::POA_ptr made) {
        const PortableServer::POA_var poa(made);
        return CORBA::is_nil(poa.in());
    };
    EXPECT_TRUE(isNil(SessionSource::create_ServantLocator_poa(PortableServer::POA::_nil(), "x")));
    EXPECT_TRUE(isNil(SessionSource::create_iterator_poa(PortableServer::POA::_nil(), "x")));
    EXPECT_TRUE(isNil(SessionSource::create_session_poa(PortableServer::POA::_nil(), "x")));
    EXPECT_EQ(trace.count(kNilParent), 3u);
}

TEST_F(SessionPoas, TraceWhatTheOrbRefuses) {
    const PortableServer::POA_var gone = dead();
    const TraceCapture trace;
    const auto isNil = [](PortableServer::POA_ptr made) {
        const PortableServer::POA_var poa(made);
        return CORBA::is_nil(poa.in());
    };
    EXPECT_TRUE(isNil(SessionSource::create_ServantLocator_poa(gone.in(), "x")));
    EXPECT_TRUE(isNil(SessionSource::create_iterator_poa(gone.in(), "x")));
    EXPECT_TRUE(isNil(SessionSource::create_session_poa(gone.in(), "x")));
    EXPECT_TRUE(trace.contains("[create_ServantLocator_poa] System exception received!"));
    EXPECT_TRUE(trace.contains("[create_iterator_poa] System exception received!"));
    EXPECT_TRUE(trace.contains("[create_session_poa] System exception received!"));
}

TEST_F(SessionPoas, AreReusedWhenTheyExistAndNoSessionUsesThem) {
    const PortableServer::POA_var top =
        SessionSource::create_ServantLocator_poa(agent_.root(), name());
    const PortableServer::POA_var iterators =
        SessionSource::create_iterator_poa(top.in(), "iterator");
    const PortableServer::POA_var sessions = SessionSource::create_session_poa(top.in(), "session");
    ASSERT_EQ(SessionSource::SetServantLocator(top.in()), 0ul);
    const PortableServer::ServantManager_var locator = top->get_servant_manager();

    const Source source = make();
    const TraceCapture trace;
    ASSERT_EQ(source->init(agent_.root()), 0ul);
    for (const char* kind :
         {"create_ServantLocator_poa", "create_iterator_poa", "create_session_poa"}) {
        EXPECT_TRUE(
            trace.contains(std::string("[") + kind +
                           "] PortableServer::POA::AdapterAlreadyExists exception received!"))
            << kind;
    }
    const PortableServer::POA_var used = source->get_POA();
    EXPECT_TRUE(used->_is_equivalent(top.in()));
    EXPECT_TRUE(child(used.in(), "iterator")->_is_equivalent(iterators.in()));
    EXPECT_TRUE(child(used.in(), "session")->_is_equivalent(sessions.in()));
    const PortableServer::ServantManager_var after = used->get_servant_manager();
    EXPECT_EQ(locator.in(), after.in()) << "a servant manager that is set stays";
    EXPECT_TRUE(isEquipped(iterators.in()));
}

TEST_F(SessionPoas, OfALiveSessionAreNotShared) {
    const Source first = makeWithTree();
    const Source second = make();
    EXPECT_EQ(second->init(agent_.root()), kFailed);
    const PortableServer::POA_var none = second->get_POA();
    EXPECT_TRUE(CORBA::is_nil(none.in()));
    const PortableServer::POA_var top = first->get_POA();
    EXPECT_FALSE(kelp::orb::isDying(top.in()));
    first->destroyAdapters(top.in());
    EXPECT_TRUE(waitUntil([&] { return ClaimedPoaNames::isFree(name()); }));
    EXPECT_EQ(second->init(agent_.root()), 0ul);
}

TEST_F(SessionPoas, KeepTagsInNamesUnchanged) {
    for (const char* user : {"a</USERNAME_TAG>b", "<IPANDPORT_TAG>", "a/b:c.d"}) {
        const Source source = makeWithTree(user);
        const PortableServer::POA_var top = source->get_POA();
        EXPECT_EQ(nameOf(top.in()), sessionNameText(user, agent_.nms().hostInfo()));
        source->destroyAdapters(top.in());
    }
}

TEST_F(SessionPoas, AreDestroyedWhenTheSessionPoaCannotBeCreated) {
    // the tree exists already, and is destroyed just before its last POA is looked up
    PortableServer::POA_var top = SessionSource::create_ServantLocator_poa(agent_.root(), name());
    const PortableServer::POA_var iterators =
        SessionSource::create_iterator_poa(top.in(), "iterator");
    ASSERT_EQ(SessionSource::SetServantIterator(top.in()), 0ul);
    const Source source = make();
    const TraceTrigger trigger("[create_iterator_poa] PortableServer::POA::AdapterAlreadyExists",
                               [&] { top->destroy(true, true); });
    const TraceCapture trace;
    EXPECT_EQ(source->init(agent_.root()), kFailed);
    ASSERT_TRUE(trigger.hasFired());
    EXPECT_TRUE(
        trace.contains("[SessionSource::init] create_session_poa returned a nil POA object!"));
    EXPECT_TRUE(trace.contains("[SessionSource::init] Exception caught in destroy POA!"));
    EXPECT_TRUE(isGoneFromRoot(name()));
    EXPECT_TRUE(waitUntil([&] { return ClaimedPoaNames::isFree(name()); }));
    const PortableServer::POA_var none = source->get_POA();
    EXPECT_TRUE(CORBA::is_nil(none.in()));
}

TEST_F(SessionPoas, KeepAServantManagerThatIsSet) {
    const Source source = makeWithTree();
    const PortableServer::POA_var top = source->get_POA();
    const TraceCapture trace;
    EXPECT_EQ(SessionSource::SetServantLocator(top.in()), 0ul);
    EXPECT_EQ(SessionSource::SetServantIterator(top.in()), 0ul);
    EXPECT_FALSE(trace.contains("set_servant_manager"));
}

TEST_F(SessionPoas, TraceThatAServantManagerCannotBeSet) {
    const TraceCapture trace;
    // the root POA has no servant manager
    EXPECT_EQ(SessionSource::SetServantLocator(agent_.root()), kFailed);
    EXPECT_TRUE(
        trace.contains("[SessionSource::SetServantLocator] Exception raised during "
                       "set_servant_manager, ex=WrongPolicy"));
    // an "iterator" POA of another kind already exists
    const PortableServer::POA_var top =
        SessionSource::create_ServantLocator_poa(agent_.root(), "odd");
    const PortableServer::POA_var odd = SessionSource::create_session_poa(top.in(), "iterator");
    EXPECT_EQ(SessionSource::SetServantIterator(top.in()), kFailed);
    EXPECT_TRUE(
        trace.contains("[SessionSource::SetServantIterator] Exception raised during "
                       "set_servant_manager ex=WrongPolicy"));
    for (const kelp::util::TraceLine& line : trace.records()) {
        if (line.text.find("set_servant_manager") != std::string::npos) {
            EXPECT_EQ(line.level, 1);
        }
    }
}

TEST_F(SessionPoas, AreDestroyedWhenTheIteratorPoaCannotBeCreated) {
    const PortableServer::POA_var gone = dead();
    const TraceCapture trace;
    EXPECT_EQ(SessionSource::SetServantIterator(gone.in()), kFailed);
    EXPECT_TRUE(trace.contains(
        "[SessionSource::SetServantIterator] Call create_iterator_poa returned a nil POA object"));
    EXPECT_TRUE(
        trace.contains("[SessionSource::SetServantIterator] Exception caught in destroy POA, "
                       "ex=OBJECT_NOT_EXIST"));
    EXPECT_EQ(SessionSource::SetServantIterator(PortableServer::POA::_nil()), kFailed);
}

TEST_F(SessionPoas, CanBeCreatedSinglyWithAServantLocator) {
    PortableServer::POA_var poa;
    const TraceCapture trace;
    EXPECT_EQ(SessionSource::CreateServantPoa(poa, PortableServer::POA::_nil(), "alone"), kFailed);
    EXPECT_TRUE(trace.contains("[CreateServantPoa] parent poa is nil object!"));
    EXPECT_TRUE(CORBA::is_nil(poa.in()));

    ASSERT_EQ(SessionSource::CreateServantPoa(poa, agent_.root(), "alone"), 0ul);
    EXPECT_EQ(nameOf(poa.in()), "alone");
    EXPECT_TRUE(isEquipped(poa.in()));
    PortableServer::POA_var again;
    EXPECT_EQ(SessionSource::CreateServantPoa(again, agent_.root(), "alone"), 0ul);
    EXPECT_TRUE(poa->_is_equivalent(again.in()));

    const PortableServer::POA_var gone = dead();
    EXPECT_EQ(SessionSource::CreateServantPoa(again, gone.in(), "below"), kFailed);
    EXPECT_TRUE(
        trace.contains("[CreateServantPoa] create_ServantLocator_poa returned a nil POA object!"));
    EXPECT_TRUE(poa->_is_equivalent(again.in())) << "a failure leaves what was there";

    const PortableServer::POA_var odd = SessionSource::create_session_poa(agent_.root(), "odd");
    EXPECT_EQ(SessionSource::CreateServantPoa(again, agent_.root(), "odd"), kFailed);
    EXPECT_TRUE(
        trace.contains("[CreateServantPoa] Exception raised during set_servant_manager()!"));
}

TEST_F(SessionPoas, GiveReferencesWithoutActivatingAnything) {
    const Source source = makeWithTree();
    const CORBA::Object_var one = source->create_object_reference("EMS", "IDL:test/One:1.0");
    const CORBA::Object_var other = source->create_object_reference("EMS", "IDL:test/One:1.0");
    EXPECT_TRUE(one->_is_equivalent(other.in()));
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(agent_.orb(), one.in(), content));
    EXPECT_EQ(content.typeId, "IDL:test/One:1.0");
    const PortableServer::POA_var top = source->get_POA();
    const PortableServer::ObjectId_var id = source->token().idOf("EMS");
    const CORBA::Object_var third =
        SessionSource::create_object_reference(top.in(), id.in(), "IDL:test/One:1.0");
    EXPECT_TRUE(one->_is_equivalent(third.in()));
    const CORBA::Object_var bare =
        SessionSource::create_object_reference(top.in(), "EMS", "IDL:test/One:1.0");
    EXPECT_FALSE(one->_is_equivalent(bare.in()));
    const CORBA::Object_var another = source->create_object_reference("ems", "IDL:test/One:1.0");
    EXPECT_FALSE(one->_is_equivalent(another.in()));
}

TEST_F(SessionPoas, GiveNoReferenceBeforeTheyAreMade) {
    const Source source = make();
    const TraceCapture trace;
    const CORBA::Object_var none = source->create_object_reference("EMS", "IDL:test/One:1.0");
    EXPECT_TRUE(CORBA::is_nil(none.in()));
    EXPECT_TRUE(
        trace.contains("[SessionSource::create_object_reference] get_POA return a nil POA!"));
}

TEST_F(SessionPoas, GiveNoReferenceAfterTheyWereDestroyed) {
    const Source source = makeWithTree();
    const PortableServer::POA_var top = source->get_POA();
    top->destroy(true, true);
    const TraceCapture trace;
    const CORBA::Object_var none = source->create_object_reference("EMS", "IDL:test/One:1.0");
    EXPECT_TRUE(CORBA::is_nil(none.in()));
    EXPECT_TRUE(
        trace.contains("[SessionSource::create_object_reference] Exception caught during "
                       "create_reference_with_id!"));
}

TEST_F(SessionPoas, StayWhenOnlyTheSourceIsDestroyed) {
    { const Source source = makeWithTree(); }
    EXPECT_NO_THROW(rootChild(name()));
    EXPECT_TRUE(ClaimedPoaNames::isFree(name())) << "no live source has the name";
    // the next session finds the POAs again
    const Source next = makeWithTree();
    const PortableServer::POA_var top = next->get_POA();
    EXPECT_TRUE(top->_is_equivalent(rootChild(name()).in()));
}

// -- names

TEST_F(SessionPoas, NamesBelongToOneSourceAtATime) {
    const Source one = make();
    const Source other = make();
    EXPECT_TRUE(ClaimedPoaNames::claim("name", one.get()));
    EXPECT_TRUE(ClaimedPoaNames::claim("name", one.get())) << "it has it already";
    EXPECT_FALSE(ClaimedPoaNames::claim("name", other.get()));
    EXPECT_FALSE(ClaimedPoaNames::isFree("name"));
    ClaimedPoaNames::giveUp("name", other.get());
    EXPECT_FALSE(ClaimedPoaNames::isFree("name")) << "it was not the other's to give up";
    EXPECT_FALSE(ClaimedPoaNames::waitUntilFree("name", std::chrono::steady_clock::now()));
    ClaimedPoaNames::giveUp("name", one.get());
    EXPECT_TRUE(ClaimedPoaNames::isFree("name"));
    EXPECT_TRUE(ClaimedPoaNames::waitUntilFree("name", std::chrono::steady_clock::now()));
    EXPECT_TRUE(ClaimedPoaNames::claim("name", other.get()));
    ClaimedPoaNames::giveUp("name", other.get());
}

TEST_F(SessionPoas, NamesAreWaitedForUntilTheyAreReleased) {
    const Source source = make();
    ASSERT_TRUE(ClaimedPoaNames::claim("name", source.get()));
    bool isFree = false;
    std::thread waiting([&] {
        isFree = ClaimedPoaNames::waitUntilFree(
            "name", std::chrono::steady_clock::now() + std::chrono::seconds(60));
    });
    EXPECT_TRUE(waitUntil(allOthersSleep));
    const auto begin = std::chrono::steady_clock::now();
    ClaimedPoaNames::giveUp("name", source.get());
    waiting.join();
    EXPECT_TRUE(isFree);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30)) << "it slept on";
}

}  // namespace
