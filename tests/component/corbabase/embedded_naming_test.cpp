// The naming service embedded in the process's ORB: where it is found, and who may change it.

#include <cos/CosNaming.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/light_event.h>

#include "base_orb.h"
#include "open_logs.h"
#include "scripted_interceptor.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;

class EmbeddedNaming : public testing::Test {
  protected:
    ~EmbeddedNaming() override {
        orb_.reset();
        base().SetReqInterceptorImpl(nullptr);
        base().EmbedNamingService(false);
    }

    std::string toml(const std::string& naming = "") const {
        return "[orb]\nlisten = \"127.0.0.1:" + std::to_string(orbPort_) +
               "\"\n[naming]\nport = " + std::to_string(namingPort_) + "\n" + naming +
               OpenLogs::toml(folder_);
    }
    void start(const std::string& naming = "") {
        base().EmbedNamingService(true);
        orb_ = std::make_unique<BaseOrb>(toml(naming));
        base().SetReqInterceptorImpl(&everybody_);
        NS_CORBA::AgentServer::Activate();
        factory_ = std::make_unique<WireSession>();
    }
    /// Return the root context as another process sees it.
    static CosNaming::NamingContextExt_ptr outside(std::uint16_t port,
                                                   const std::string& key = "NameService") {
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::Object_var object =
            orb::toReference(orb.in(), "corbaloc::127.1:" + std::to_string(port) + "/" + key);
        return CosNaming::NamingContextExt::_unchecked_narrow(object.in());
    }
    bool leadsToTheFactory(CosNaming::NamingContextExt_ptr root, const char* path) const {
        try {
            const CORBA::Object_var found = root->resolve_str(path);
            return textOf(found.in()) == textOf(factory_->own());
        } catch (const CosNaming::NamingContext::NotFound&) {
            return false;
        }
    }
    static std::string textOf(CORBA::Object_ptr object) {
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::String_var text = orb->object_to_string(object);
        return text.in();
    }

    static constexpr const char* kStandardPath =
        "TMF_MTNM.Class/Kelp.Vendor/Kelp\\/EMS.EmsInstance/3_5.Version/Kelp\\/"
        "EMS.EmsSessionFactory_I";
    TemporaryDirectory folder_;
    TraceCapture trace_;
    std::uint16_t orbPort_ = freePort();
    std::uint16_t namingPort_ = freePort();
    ScriptedInterceptor everybody_;
    std::unique_ptr<BaseOrb> orb_;
    std::unique_ptr<WireSession> factory_;
};

TEST_F(EmbeddedNaming, IsFoundAtItsOwnAddressAndAtTheOrbs) {
    start();
    EXPECT_TRUE(base().IsNamingServiceEmbedded());
    ASSERT_TRUE(base().RegistEMSFactoryName(factory_->own()));
    for (const std::uint16_t port : {namingPort_, orbPort_}) {
        for (const char* key : {"NameService", "DefaultNamingContext", "NamingContextExt"}) {
            const CosNaming::NamingContextExt_var root = outside(port, key);
            EXPECT_TRUE(leadsToTheFactory(root.in(), kStandardPath)) << port << key;
        }
    }
    EXPECT_EQ(trace_.count("Could not bind the factory"), 0u);
}

TEST_F(EmbeddedNaming, AddressAppearsInNoReference) {
    start();
    orb::ReferenceContent content;
    ASSERT_TRUE(orb::decodeReference(textOf(factory_->own()), content));
    ASSERT_EQ(content.endpoints.size(), 1u);
    EXPECT_EQ(content.endpoints.front().port, orbPort_);
}

TEST_F(EmbeddedNaming, MayShareTheOrbsAddress) {
    namingPort_ = orbPort_;
    start();
    ASSERT_TRUE(base().RegistEMSFactoryName(factory_->own()));
    const CosNaming::NamingContextExt_var root = outside(orbPort_);
    EXPECT_TRUE(leadsToTheFactory(root.in(), kStandardPath));
}

TEST_F(EmbeddedNaming, IsNotServedUnlessAskedFor) {
    orb_ = std::make_unique<BaseOrb>(toml());
    EXPECT_FALSE(base().IsNamingServiceEmbedded());
    EXPECT_THROW(connectTo(namingPort_), std::runtime_error);
}

TEST_F(EmbeddedNaming, EntryIsRemovedWithTheFactory) {
    start();
    ASSERT_TRUE(base().RegistEMSFactoryName(factory_->own()));
    const CosNaming::NamingContextExt_var root = outside(namingPort_);
    base().UnRegistEMSFactoryName();
    EXPECT_FALSE(leadsToTheFactory(root.in(), kStandardPath));
    EXPECT_EQ(trace_.count("Could not unbind"), 0u);
}

TEST_F(EmbeddedNaming, FactoryIsRemovedEvenWhenNewRequestsAreAlreadyDiscarded) {
    start();
    ASSERT_TRUE(base().RegistEMSFactoryName(factory_->own()));
    NS_CORBA::AgentServer::Discard();
    base().UnRegistEMSFactoryName();
    EXPECT_EQ(trace_.count("Could not unbind"), 0u);
}

TEST_F(EmbeddedNaming, IsReachedInsideUnderAnyHostName) {
    start("host = \"localhost\"\n");
    EXPECT_TRUE(base().RegistEMSFactoryName(factory_->own()));
    const CosNaming::NamingContextExt_var root = outside(orbPort_);
    EXPECT_TRUE(leadsToTheFactory(root.in(), kStandardPath));
}

TEST_F(EmbeddedNaming, AliasesFollowTheConfiguration) {
    start("aliases = ['EMS/factory.Object', 'a/b/c/d/e.x/f']\n");
    ASSERT_TRUE(base().RegistEMSFactoryName(factory_->own()));
    const CosNaming::NamingContextExt_var root = outside(namingPort_);
    EXPECT_TRUE(leadsToTheFactory(root.in(), "EMS/factory.Object"));
    EXPECT_TRUE(leadsToTheFactory(root.in(), "a/b/c/d/e.x/f"));
    configure(toml("aliases = ['other']\n"));
    NS_BUNDLEMGR1::LightEventMgr::Instance()->Raise(NS_BUNDLEMGR1::kConfigurationReadEvent);
    EXPECT_TRUE(waitUntil([&] { return leadsToTheFactory(root.in(), "other"); }));
    EXPECT_FALSE(leadsToTheFactory(root.in(), "EMS/factory.Object"));
    EXPECT_TRUE(leadsToTheFactory(root.in(), kStandardPath));
}

TEST_F(EmbeddedNaming, ChangesFromOutsideAreRefusedAndRecorded) {
    start();
    ASSERT_TRUE(base().RegistEMSFactoryName(factory_->own()));
    const OpenLogs logs(folder_);
    const CosNaming::NamingContextExt_var root = outside(namingPort_);
    CosNaming::Name name;
    base().ConstructEmsFactoryName(name);
    EXPECT_THROW(root->unbind(name), CORBA::NO_PERMISSION);
    EXPECT_THROW(root->destroy(), CORBA::NO_PERMISSION);
    EXPECT_TRUE(leadsToTheFactory(root.in(), kStandardPath));
    const std::vector<oplog::LogEntry> records = logs.security();
    EXPECT_THAT(
        records,
        ElementsAre(AllOf(Field(&oplog::LogEntry::operation, "naming"),
                          Field(&oplog::LogEntry::outcome, "NO_PERMISSION"),
                          Field(&oplog::LogEntry::detail, "unbind"),
                          Field(&oplog::LogEntry::object, testing::StartsWith("TMF_MTNM.Class/")),
                          Field(&oplog::LogEntry::peer, testing::StartsWith("127.0.0.1:"))),
                    Field(&oplog::LogEntry::detail, "destroy")));
}

TEST_F(EmbeddedNaming, AFloodOfChangesIsSummarised) {
    start();
    const OpenLogs logs(folder_);
    const CosNaming::NamingContextExt_var root = outside(namingPort_);
    for (int i = 0; i < 500; ++i)
        EXPECT_THROW(root->destroy(), CORBA::NO_PERMISSION);
    EXPECT_LT(logs.security().size(), 30u);
}

TEST_F(EmbeddedNaming, StartsAndStopsWithEachOrb) {
    for (int run = 0; run < 3; ++run) {
        start();
        ASSERT_TRUE(base().RegistEMSFactoryName(factory_->own()));
        const CosNaming::NamingContextExt_var root = outside(namingPort_);
        EXPECT_TRUE(leadsToTheFactory(root.in(), kStandardPath));
        factory_.reset();
        orb_.reset();
        EXPECT_FALSE(base().IsNamingServiceEmbedded());
        base().SetReqInterceptorImpl(nullptr);
    }
}

TEST_F(EmbeddedNaming, BusyAddressIsNamedWhenTheOrbCannotListenThere) {
    const DeafListener busy;
    namingPort_ = busy.port();
    base().EmbedNamingService(true);
    configure(toml());
    EXPECT_FALSE(base().Init("test_bundle"));
    EXPECT_TRUE(trace_.contains("127.0.0.1:" + std::to_string(namingPort_) + " (naming service)"));
}

}  // namespace
}  // namespace kelp::test
