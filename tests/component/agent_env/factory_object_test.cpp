// The session factory's object and the registry of manager servants.

#include <gtest/gtest.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/persistent_poa.h>

#include <atomic>

#include "component/corbabase/base_orb.h"
#include "naming_fixture.h"
#include "session/ems_session_factory_impl.h"
#include "support/test_manager.h"

namespace kelp::test {
namespace {

using NS_KELPCORBA::CorbaAgentConfig;
using NS_KELPCORBA::EmsSessionFactory_IImpl;
using NS_KELPCORBA::SessionMgr;

class FactoryObject : public testing::Test {
  protected:
    ~FactoryObject() override {
        CorbaAgentConfig::Destroy();
        EmsSessionFactory_IImpl::Destroy();
        SessionMgr::Destroy();
    }
    static CorbaAgentConfig& config() { return *CorbaAgentConfig::Instance(); }
    static std::string objectKey() {
        const CORBA::ORB_var orb = base().GetOrb();
        const emsSessionFactory::EmsSessionFactory_I_var factory =
            config().GetEmsSessionFactoryIImplObj();
        orb::ReferenceContent content;
        EXPECT_TRUE(orb::describe(orb.in(), factory.in(), content));
        return content.objectKey;
    }

    TraceCapture trace_;
    std::atomic<int> alive_{0};
};

TEST_F(FactoryObject, IsNilBeforeItIsMade) {
    const emsSessionFactory::EmsSessionFactory_I_var factory =
        config().GetEmsSessionFactoryIImplObj();
    EXPECT_TRUE(CORBA::is_nil(factory.in()));
}

TEST_F(FactoryObject, IsServedByTheFactoryUnderItsPersistentPoaAndId) {
    const BaseOrb orb;
    ASSERT_TRUE(config().InitEmsSessionFactoryIImplObj());
    const PortableServer::POA_var root = base().GetRootPoa();
    const PortableServer::POA_var poa = root->find_POA("V4800", false);
    const PortableServer::ObjectId_var id = PortableServer::string_to_ObjectId("EMSSessionFactory");
    const PortableServer::ServantBase_var servant = poa->id_to_servant(id.in());
    EXPECT_EQ(servant.in(), EmsSessionFactory_IImpl::Instance());
    const emsSessionFactory::EmsSessionFactory_I_var factory =
        config().GetEmsSessionFactoryIImplObj();
    const CORBA::Object_var active = poa->id_to_reference(id.in());
    EXPECT_TRUE(factory->_is_equivalent(active.in()));
}

TEST_F(FactoryObject, KeepsItsKeyAcrossRestarts) {
    std::string first;
    {
        const BaseOrb orb;
        ASSERT_TRUE(config().InitEmsSessionFactoryIImplObj());
        first = objectKey();
        CorbaAgentConfig::Destroy();
        EmsSessionFactory_IImpl::Destroy();
    }
    const BaseOrb orb;
    ASSERT_TRUE(config().InitEmsSessionFactoryIImplObj());
    EXPECT_EQ(objectKey(), first);
}

TEST_F(FactoryObject, MadeTwiceIsKeptOnce) {
    const BaseOrb orb;
    ASSERT_TRUE(config().InitEmsSessionFactoryIImplObj());
    const emsSessionFactory::EmsSessionFactory_I_var first =
        config().GetEmsSessionFactoryIImplObj();
    const auto references = EmsSessionFactory_IImpl::Instance()->_refcount_value();
    ASSERT_TRUE(config().InitEmsSessionFactoryIImplObj());
    const emsSessionFactory::EmsSessionFactory_I_var second =
        config().GetEmsSessionFactoryIImplObj();
    EXPECT_TRUE(first->_is_equivalent(second.in()));
    EXPECT_EQ(EmsSessionFactory_IImpl::Instance()->_refcount_value(), references);
}

TEST_F(FactoryObject, IsHandedOutAsADuplicateThatOutlivesTheConfiguration) {
    const BaseOrb orb;
    ASSERT_TRUE(config().InitEmsSessionFactoryIImplObj());
    const emsSessionFactory::EmsSessionFactory_I_var factory =
        config().GetEmsSessionFactoryIImplObj();
    const std::string key = objectKey();
    CorbaAgentConfig::Destroy();
    orb::ReferenceContent content;
    const CORBA::ORB_var itsOrb = base().GetOrb();
    ASSERT_TRUE(orb::describe(itsOrb.in(), factory.in(), content));
    EXPECT_EQ(content.objectKey, key);
}

TEST_F(FactoryObject, CannotBeMadeWithoutAnOrb) {
    EXPECT_FALSE(config().InitEmsSessionFactoryIImplObj());
    EXPECT_EQ(
        trace_.count(
            "[CorbaAgentConfig::InitEmsSessionFactoryIImplObj] Create EMSSessionFactory catch "
            "exception: BAD_INV_ORDER"),
        1u);
}

TEST_F(FactoryObject, CannotBeMadeUnderAnIdThatAnotherServantHas) {
    const BaseOrb orb;
    const PortableServer::POA_var root = base().GetRootPoa();
    const PortableServer::POA_var poa = NS_CORBA::get_persistent_poa(root.in(), "V4800");
    const PortableServer::ServantBase_var other(new OtherFactory);
    const CORBA::Object_var taken =
        NS_CORBA::get_persistent_ref(poa.in(), other.in(), "EMSSessionFactory");
    EXPECT_FALSE(config().InitEmsSessionFactoryIImplObj());
    EXPECT_EQ(
        trace_.count("[CorbaAgentConfig::InitEmsSessionFactoryIImplObj] Call get_persistent_ref "
                     "EMSSessionFactory is nil\n"),
        1u);
    const emsSessionFactory::EmsSessionFactory_I_var factory =
        config().GetEmsSessionFactoryIImplObj();
    EXPECT_TRUE(CORBA::is_nil(factory.in()));
}

TEST_F(FactoryObject, StaysWhenItCannotBeCreatedAgain) {
    const BaseOrb orb;
    ASSERT_TRUE(config().InitEmsSessionFactoryIImplObj());
    const std::string before = objectKey();
    const PortableServer::POA_var root = base().GetRootPoa();
    const PortableServer::POA_var poa = root->find_POA("V4800", false);
    const PortableServer::ObjectId_var id = PortableServer::string_to_ObjectId("EMSSessionFactory");
    poa->deactivate_object(id.in());
    const PortableServer::ServantBase_var other(new OtherFactory);
    const CORBA::Object_var taken =
        NS_CORBA::get_persistent_ref(poa.in(), other.in(), "EMSSessionFactory");
    EXPECT_FALSE(config().InitEmsSessionFactoryIImplObj());
    EXPECT_EQ(objectKey(), before);
}

TEST_F(FactoryObject, RegisteredServantIsFoundUnderItsName) {
    auto* servant = new TestManager(alive_);
    const PortableServer::ServantBase_var owner(servant);
    config().RegisterServant("ManagedElement", servant);
    EXPECT_EQ(SessionMgr::Instance()->find_servant("ManagedElement"), servant);
    EXPECT_EQ(servant->_refcount_value(), 2u);
}

TEST_F(FactoryObject, ServantRegisteredLaterUnderANameReplacesTheFirst) {
    auto* first = new TestManager(alive_);
    auto* second = new TestManager(alive_);
    const PortableServer::ServantBase_var owner(first);
    const PortableServer::ServantBase_var laterOwner(second);
    config().RegisterServant("ManagedElement", first);
    config().RegisterServant("ManagedElement", second);
    EXPECT_EQ(SessionMgr::Instance()->find_servant("ManagedElement"), second);
    EXPECT_EQ(first->_refcount_value(), 1u);
    EXPECT_EQ(second->_refcount_value(), 2u);
}

TEST_F(FactoryObject, RegisteringNothingIsTracedAndIgnored) {
    auto* servant = new TestManager(alive_);
    const PortableServer::ServantBase_var owner(servant);
    config().RegisterServant(nullptr, servant);
    config().RegisterServant("ManagedElement", nullptr);
    EXPECT_EQ(trace_.count("[CorbaAgentConfig::RegisterServant] Name or servant is null!"), 2u);
    EXPECT_EQ(SessionMgr::Instance()->find_servant("ManagedElement"), nullptr);
}

}  // namespace
}  // namespace kelp::test
