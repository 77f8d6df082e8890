// What a caller finds out who asks for objects by keys alone.

#include <gtest/gtest.h>
#include <kelp/orb/counted_local.h>
#include <kelp/orb/poas.h>

#include <atomic>

#include "poa_maker.h"
#include "raw_giop.h"
#include "session_object.h"
#include "support/raw_locate.h"
#include "support/wait_until.h"
#include "support/wire_reference.h"

namespace {

using namespace kelp::test;
using namespace std::string_literals;

/// Serves only the object "known".
class OneObject : public kelp::orb::CountedLocal<PortableServer::ServantLocator> {
  public:
    PortableServer::Servant preinvoke(const PortableServer::ObjectId& id, PortableServer::POA_ptr,
                                      const char*, void*&) override {
        ++asked;
        if (std::string(reinterpret_cast<const char*>(id.get_buffer()), id.length()) != "known")
            throw kelp::orb::unknownObject();
        return new ScriptedSession;
    }
    void postinvoke(const PortableServer::ObjectId&, PortableServer::POA_ptr, const char*, void*,
                    PortableServer::Servant servant) override {
        servant->_remove_ref();
        ++released;
    }
    static inline std::atomic<int> asked{0};
    static inline std::atomic<int> released{0};
};

class NoObject : public kelp::orb::CountedLocal<PortableServer::ServantActivator> {
  public:
    PortableServer::Servant incarnate(const PortableServer::ObjectId&,
                                      PortableServer::POA_ptr) override {
        throw kelp::orb::unknownObject();
    }
    void etherealize(const PortableServer::ObjectId&, PortableServer::POA_ptr,
                     PortableServer::Servant servant, CORBA::Boolean, CORBA::Boolean) override {
        servant->_remove_ref();
    }
};

/// The parameter is the minor version of GIOP.
class Locate : public testing::TestWithParam<char> {
  protected:
    Locate() {
        const PortableServer::ServantLocator_var locator = new OneObject;
        top_ = makeLocatorPoa(orb_.root(), orb_.manager(), "top");
        top_->set_servant_manager(locator.in());
        const PortableServer::ServantActivator_var activator = new NoObject;
        iterators_ = makeActivatorPoa(top_.in(), orb_.manager(), "iterator");
        iterators_->set_servant_manager(activator.in());
        sessions_ = makePoa(top_.in(), orb_.manager(), "session");
        persistent_ = makePersistentPoa(orb_.root(), orb_.manager(), "persistent");
        OneObject::asked = OneObject::released = 0;
    }
    std::string keyOf(CORBA::Object_ptr object) const {
        kelp::orb::ReferenceContent content;
        EXPECT_TRUE(kelp::orb::describe(orb_.orb(), object, content));
        return content.objectKey;
    }
    std::string keyOfId(const char* id) const {
        const PortableServer::ObjectId_var oid = PortableServer::string_to_ObjectId(id);
        const CORBA::Object_var object =
            top_->create_reference_with_id(oid.in(), "IDL:mtnm.tmforum.org/session/Session_I:1.0");
        return keyOf(object.in());
    }
    LocateStatus locate(const std::string& key) {
        return RawLocator(orb_.port(), GetParam()).locate(key);
    }

    RunningOrb orb_;
    PortableServer::POA_var top_;
    PortableServer::POA_var iterators_;
    PortableServer::POA_var sessions_;
    PortableServer::POA_var persistent_;
};

TEST_P(Locate, FindsWhatALocatorServesAndNothingElse) {
    EXPECT_EQ(locate(keyOfId("known")), LocateStatus::ObjectHere);
    EXPECT_EQ(OneObject::asked, 1);
    EXPECT_EQ(OneObject::released, 1);
    for (const char* id : {"", "k", "know", "known ", "unknown"})
        EXPECT_EQ(locate(keyOfId(id)), LocateStatus::UnknownObject) << id;
    EXPECT_EQ(OneObject::released, 1);
}

TEST_P(Locate, FindsOfAnActivatorsObjectsTheActiveOnes) {
    SessionObject active(orb_, iterators_.in());
    const std::string key = keyOf(active.inProcess());
    EXPECT_EQ(locate(key), LocateStatus::ObjectHere);
    std::string other = key;
    other.back() = static_cast<char>(other.back() + 1);
    EXPECT_EQ(locate(other), LocateStatus::UnknownObject);
    EXPECT_EQ(locate(key.substr(0, key.size() - 1)), LocateStatus::UnknownObject);
    EXPECT_EQ(locate(key + "x"), LocateStatus::UnknownObject);
}

TEST_P(Locate, FindsWhatIsActiveWithoutAServantManager) {
    SessionObject active(orb_, sessions_.in());
    EXPECT_EQ(locate(keyOf(active.inProcess())), LocateStatus::ObjectHere);
    SessionObject atTheRoot(orb_);
    EXPECT_EQ(locate(keyOf(atTheRoot.inProcess())), LocateStatus::ObjectHere);
    EXPECT_EQ(locate(keyOf(active.inProcess()) + "x"), LocateStatus::UnknownObject);
}

TEST_P(Locate, FindsPersistentAndWellKnownObjects) {
    const CORBA::Object_var own = activateWithId(persistent_.in(), "one");
    EXPECT_EQ(locate(keyOf(own.in())), LocateStatus::ObjectHere);
    EXPECT_EQ(locate("\xff"
                     "persistent\0two"s),
              LocateStatus::UnknownObject);
    const PortableServer::ServantBase_var servant = new ScriptedSession;
    kelp::orb::publishKey(orb_.orb(), "Known", servant.in(), own.in());
    EXPECT_EQ(locate("Known"), LocateStatus::ObjectHere);
    EXPECT_EQ(locate("Unknown"), LocateStatus::UnknownObject);
}

TEST_P(Locate, DoesNotRevealWhichPoasExist) {
    const std::string known = keyOfId("known");
    // the 8 octets of this life of the POA, after FF "top" FE
    const std::string life = known.substr(5, 8);
    const auto keysBelow = [&](const std::string& poa) {
        return std::vector<std::string>{
            "\xff" + poa,
            "\xff" + poa + "\xfe" + life,
            "\xff" + poa + "\0"s,
            "\xff" + poa + "\0known"s,
            "\xff" + poa + "\0"s + std::string(40, 'x'),
            "\xff" + poa + "\xfe" + life + "\0"s,
            "\xff" + poa + "\xfe" + life + "\0other"s,
            "\xff" + poa + "\xfe" + std::string(8, 'x') + "\0known"s,
            "\xff" + poa + "\xffiterator\0"s + std::string(40, 'x'),
            "\xff" + poa + "\xffiterator\xfe" + life + "\0abcd"s,
            "\xff" + poa + "\xffsession\0"s + std::string(40, 'x'),
            "\xff" + poa + "\xffsession\xfe" + life + "\0abcd"s,
        };
    };
    RawLocator locator(orb_.port(), GetParam());
    for (const std::string& rootKey : {"\0"s, "\0x"s, "\0"s + std::string(40, 'x')})
        EXPECT_EQ(locator.locate(rootKey), LocateStatus::UnknownObject);
    for (const char* poa : {"top", "top1", "none"}) {
        for (const LocateStatus answer : locator.locateAll(keysBelow(poa)))
            EXPECT_EQ(answer, LocateStatus::UnknownObject) << poa;
    }
    EXPECT_EQ(locator.locate(known), LocateStatus::ObjectHere);
}

TEST_P(Locate, FindsNothingBelowAPoaThatIsGone) {
    const std::string known = keyOfId("known");
    EXPECT_EQ(locate(known), LocateStatus::ObjectHere);
    kelp::orb::beginDestroy(top_.in());
    EXPECT_TRUE(kelp::orb::waitUntilGone("top", std::chrono::seconds(20)));
    EXPECT_EQ(locate(known), LocateStatus::UnknownObject);
}

TEST_P(Locate, WorksInTheOrbThatIsStartedNext) {
    orb_.destroy();
    RunningOrb next;
    SessionObject session(next);
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(next.orb(), session.inProcess(), content));
    EXPECT_EQ(RawLocator(next.port(), GetParam()).locate(content.objectKey),
              LocateStatus::ObjectHere);
    const PortableServer::POA_var top = makeLocatorPoa(next.root(), next.manager(), "top");
    const PortableServer::ServantLocator_var locator = new OneObject;
    top->set_servant_manager(locator.in());
    EXPECT_EQ(RawLocator(next.port(), GetParam()).locate("\xfftop\0other"s),
              LocateStatus::UnknownObject);
}

INSTANTIATE_TEST_SUITE_P(Giop, Locate, testing::Values('\0', '\1', '\2'),
                         [](const auto& minor) { return "1_" + std::to_string(minor.param); });

/// Return the minor code of the OBJECT_NOT_EXIST with which a request is answered.
CORBA::ULong minorOf(const RunningOrb& orb, const std::string& key) {
    const CORBA::Object_var object = kelp::orb::toReference(
        orb.orb(), "corbaloc:iiop:1.2@127.1:" + std::to_string(orb.port()) + "/" + escapedKey(key));
    const session::Session_I_var session = session::Session_I::_unchecked_narrow(object.in());
    try {
        session->ping();
    } catch (const CORBA::OBJECT_NOT_EXIST& answer) {
        return answer.minor();
    } catch (const CORBA::Exception& other) {
        ADD_FAILURE() << kelp::orb::exceptionText(other);
    }
    return 0;
}

TEST_P(Locate, RequestsDoNotRevealWhichPoasExist) {
    const std::string life = keyOfId("known").substr(5, 8);
    const CORBA::ULong unknown = minorOf(orb_, "\xffnone\xfe" + life + "\0known"s);
    for (const std::string& key : {
             "\xfftop\xfe" + life + "\0other"s,
             "\0"s,
             "\0x"s,
             "\0"s + std::string(40, 'x'),
             "\xfftop\0"s,
             "\xfftop\0known"s,
             "\xfftop\0"s + std::string(40, 'x'),
             "\xfftop\xffiterator\0"s,
             "\xfftop\xffiterator\0"s + std::string(40, 'x'),
             "\xfftop\xffsession\0"s + std::string(40, 'x'),
         })
        EXPECT_EQ(minorOf(orb_, key), unknown) << escapedKey(key);
    // a caller that knows the object id still does not know the octets of this life
    EXPECT_EQ(OneObject::released, 0);
    EXPECT_EQ(kelp::orb::unknownObject().minor(), unknown);
    EXPECT_EQ(kelp::orb::unknownObject().completed(), CORBA::COMPLETED_NO);
}

}  // namespace
