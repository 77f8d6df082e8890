#include <gtest/gtest.h>
#include <kelp/corbabase/persistent_poa.h>

#include "base_orb.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"

using kelp::test::base;
using kelp::test::BaseOrb;
using kelp::test::ScriptedSession;
using NS_CORBA::get_persistent_poa;
using NS_CORBA::get_persistent_ref;

namespace {

std::string textOf(CORBA::Object_ptr reference) {
    const CORBA::ORB_var orb = base().GetOrb();
    kelp::orb::ReferenceContent content;
    EXPECT_TRUE(kelp::orb::describe(orb.in(), reference, content));
    return content.objectKey;
}

class PersistentPoa : public testing::Test {
  protected:
    PortableServer::POA_ptr make() {
        const PortableServer::POA_var root = base().GetRootPoa();
        return get_persistent_poa(root.in(), "V4800");
    }

    BaseOrb orb;
    ScriptedSession* const servant = new ScriptedSession;
    const PortableServer::ServantBase_var owner{servant};
};

TEST_F(PersistentPoa, IsMadeOnceUnderTheParentsManager) {
    const PortableServer::POA_var first = make();
    const PortableServer::POA_var second = make();
    EXPECT_TRUE(first->_is_equivalent(second.in()));
    const CORBA::String_var name = first->the_name();
    EXPECT_STREQ(name.in(), "V4800");
    const PortableServer::POA_var root = base().GetRootPoa();
    const PortableServer::POAManager_var manager = first->the_POAManager();
    const PortableServer::POAManager_var rootManager = root->the_POAManager();
    EXPECT_TRUE(manager->_is_equivalent(rootManager.in()));
}

TEST_F(PersistentPoa, TheReferenceNamesPoaAndObject) {
    const PortableServer::POA_var poa = make();
    const CORBA::Object_var reference = get_persistent_ref(poa.in(), servant, "EMSSessionFactory");
    ASSERT_FALSE(CORBA::is_nil(reference.in()));
    EXPECT_NE(textOf(reference.in()).find("V4800"), std::string::npos);
    EXPECT_NE(textOf(reference.in()).find("EMSSessionFactory"), std::string::npos);
}

TEST_F(PersistentPoa, AnActivationThatExistsIsReused) {
    const PortableServer::POA_var poa = make();
    const CORBA::Object_var first = get_persistent_ref(poa.in(), servant, "EMSSessionFactory");
    const CORBA::Object_var second = get_persistent_ref(poa.in(), servant, "EMSSessionFactory");
    ASSERT_FALSE(CORBA::is_nil(second.in()));
    EXPECT_EQ(textOf(first.in()), textOf(second.in()));
}

TEST_F(PersistentPoa, AnIdTakenByAnotherServantGivesNil) {
    const kelp::test::TraceCapture capture;
    const PortableServer::POA_var poa = make();
    const CORBA::Object_var first = get_persistent_ref(poa.in(), servant, "EMSSessionFactory");
    ScriptedSession* const other = new ScriptedSession;
    const PortableServer::ServantBase_var otherOwner(other);
    const CORBA::Object_var second = get_persistent_ref(poa.in(), other, "EMSSessionFactory");
    EXPECT_TRUE(CORBA::is_nil(second.in()));
    const CORBA::Object_var elsewhere = get_persistent_ref(poa.in(), servant, "Another");
    EXPECT_TRUE(CORBA::is_nil(elsewhere.in()));
    EXPECT_TRUE(capture.contains("The object id EMSSessionFactory is taken by another servant!"));
}

TEST_F(PersistentPoa, NothingToActivateGivesNil) {
    const PortableServer::POA_var poa = make();
    const CORBA::Object_var reference = get_persistent_ref(poa.in(), nullptr, "EMSSessionFactory");
    EXPECT_TRUE(CORBA::is_nil(reference.in()));
}

TEST_F(PersistentPoa, ThePoaKeepsTheServant) {
    const PortableServer::POA_var poa = make();
    bool destroyed = false;
    {
        ScriptedSession* const kept = new ScriptedSession;
        kept->onEnd = [&] { destroyed = true; };
        const PortableServer::ServantBase_var itsOwner(kept);
        const CORBA::Object_var reference = get_persistent_ref(poa.in(), kept, "Kept");
    }
    EXPECT_FALSE(destroyed);
    orb.stop();
    EXPECT_TRUE(destroyed);
}

TEST(PersistentReference, HasTheSameKeyInTheNextRun) {
    std::string keys[2];
    for (std::string& key : keys) {
        const BaseOrb orb;
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::POA_var poa = get_persistent_poa(root.in(), "V4800");
        ScriptedSession* const servant = new ScriptedSession;
        const PortableServer::ServantBase_var owner(servant);
        const CORBA::Object_var reference =
            get_persistent_ref(poa.in(), servant, "EMSSessionFactory");
        key = textOf(reference.in());
    }
    EXPECT_EQ(keys[0], keys[1]);
    EXPECT_FALSE(keys[0].empty());
}

}  // namespace
