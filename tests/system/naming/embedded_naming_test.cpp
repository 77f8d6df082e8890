// The host's embedded naming service, the other ways to the session factory, and a stranger who
// tries everything.

#include <gmock/gmock.h>
#include <mtnm/emsSessionFactory.h>

#include <filesystem>

#include "harness/naming_client.h"
#include "harness/nms_process.h"
#include "naming_tools.h"

namespace kelp::test {
namespace {

using CosNaming::NamingContextExt_ptr;
using CosNaming::NamingContextExt_var;
using testing::HasSubstr;

class EmbeddedNaming : public testing::Test {
  protected:
    void SetUp() override { host_.addUser("alice"); }

    void start() {
        host_.start();
        ASSERT_TRUE(eventually([&] { return client_.factoryAddress() == host_.address(); }));
    }
    NamingContextExt_ptr root(std::uint16_t port = 0) const {
        const std::string address =
            "127.0.0.1:" + std::to_string(port == 0 ? host_.namingPort() : port);
        const CORBA::Object_var object =
            orb::toReference(testOrb(), "corbaloc::" + address + "/NameService");
        return CosNaming::NamingContextExt::_unchecked_narrow(object.in());
    }
    bool leadsToTheFactory(const char* path) const {
        try {
            const NamingContextExt_var context = root();
            const CORBA::Object_var found = context->resolve_str(path);
            return textOf(found.in()) == factory_;
        } catch (const CosNaming::NamingContext::NotFound&) {
            return false;
        }
    }
    void keepFactory() {
        const NamingContextExt_var context = root();
        const CORBA::Object_var found = context->resolve(factoryName());
        factory_ = textOf(found.in());
    }
    static std::string versionBy(const std::string& reference) {
        const CORBA::Object_var object = orb::toReference(testOrb(), reference);
        const emsSessionFactory::EmsSessionFactory_I_var factory =
            emsSessionFactory::EmsSessionFactory_I::_narrow(object.in());
        const CORBA::String_var version = factory->getVersion();
        return version.in();
    }

    Host host_;
    NamingClient client_{testOrb(), host_.namingPort()};
    std::string factory_;  ///< reference of the session factory
};

TEST_F(EmbeddedNaming, HoldsTheFactoryOnceTheHostIsReady) {
    host_.start();
    ASSERT_TRUE(host_.log().waitFor("kelpd is ready"));
    EXPECT_EQ(client_.factoryAddress(), host_.address());
}

TEST_F(EmbeddedNaming, NothingThatAStrangerDoesChangesIt) {
    start();
    keepFactory();
    const NamingContextExt_var context = root();
    const CORBA::Object_var own = orb::toReference(testOrb(), "corbaloc::127.0.0.1:1/Foreign");
    const CosNaming::Name whole = factoryName();
    CosNaming::Name part;
    for (CORBA::ULong length = 1; length <= whole.length(); ++length) {
        part.length(length);
        part[length - 1] = whole[length - 1];
        EXPECT_THROW(context->bind(part, own.in()), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->rebind(part, own.in()), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->unbind(part), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->bind_context(part, context.in()), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->rebind_context(part, context.in()), CORBA::NO_PERMISSION);
        EXPECT_THROW(context->bind_new_context(part), CORBA::NO_PERMISSION);
        const CORBA::Object_var at = context->resolve(part);
        if (length == whole.length())
            break;
        const CosNaming::NamingContext_var inner = CosNaming::NamingContext::_narrow(at.in());
        EXPECT_THROW(inner->destroy(), CORBA::NO_PERMISSION);
        EXPECT_THROW(inner->new_context(), CORBA::NO_PERMISSION);
    }
    EXPECT_THROW(context->destroy(), CORBA::NO_PERMISSION);
    for (int i = 0; i < 100; ++i) {
        CosNaming::Name filler;
        filler.length(1);
        filler[0].id = ("filler" + std::to_string(i)).c_str();
        EXPECT_THROW(context->bind_new_context(filler), CORBA::NO_PERMISSION);
    }
    CosNaming::BindingList_var list;
    CosNaming::BindingIterator_var iterator;
    context->list(100, list.out(), iterator.out());
    EXPECT_EQ(list->length(), 1u);
    keepFactory();
    EXPECT_TRUE(leadsToTheFactory(
        R"(TMF_MTNM.Class/Kelp.Vendor/Kelp\/EMS.EmsInstance/3_5.Version/Kelp\/EMS.EmsSessionFactory_I)"));
    NmsProcess nms(host_);
    nms.logIn(0, "alice");
    EXPECT_TRUE(eventually([&] {
        return printedBy(host_, {"audit", "--event", "naming"}).find("NO_PERMISSION") !=
               std::string::npos;
    }));
    EXPECT_TRUE(eventually([&] { return namingOf(host_).value("ours", false); }));
}

TEST_F(EmbeddedNaming, FactoryIsFoundUnderEveryAlias) {
    host_.set("naming", "aliases", R"(['EMS.Kind/factory', 'a.1/b.2/c.3/d.4/e.5/f.6'])");
    start();
    keepFactory();
    EXPECT_TRUE(leadsToTheFactory("EMS.Kind/factory"));
    EXPECT_TRUE(leadsToTheFactory("a.1/b.2/c.3/d.4/e.5/f.6"));
    const std::string naming = "127.0.0.1:" + std::to_string(host_.namingPort());
    EXPECT_EQ(
        runToEnd(host_.launch(KELPNMS, {"--naming", naming, "--user", "alice", "--password-file",
                                        host_.passwordFile().string(), "ping"})),
        0)
        << "several names of one factory are no several factories";
    host_.set("naming", "aliases", R"(['another.name'])");
    host_.reconfigure();
    EXPECT_TRUE(eventually([&] { return leadsToTheFactory("another.name"); }));
    EXPECT_FALSE(leadsToTheFactory("EMS.Kind/factory"));
}

TEST_F(EmbeddedNaming, AnswersOnTheCorbaPortToo) {
    start();
    keepFactory();
    const NamingContextExt_var context = root(host_.port());
    const CORBA::Object_var found = context->resolve(factoryName());
    EXPECT_EQ(textOf(found.in()), factory_);
}

TEST_F(EmbeddedNaming, SharesTheCorbaPort) {
    host_.set("naming", "port", host_.port());
    host_.start();
    NamingClient client(testOrb(), host_.port());
    EXPECT_TRUE(eventually([&] { return client.factoryAddress() == host_.address(); }));
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(EmbeddedNaming, FactoryHasAShortKey) {
    start();
    EXPECT_EQ(versionBy("corbaloc::" + host_.address() + "/EmsSessionFactory_I"), "3.5");
    EXPECT_EQ(versionBy("corbaloc:iiop:1.2@" + host_.address() + "/EmsSessionFactory_I"), "3.5");
    NmsProcess nms(host_, "corbaloc::" + host_.address() + "/EmsSessionFactory_I");
    nms.logIn(0, "alice");
    nms.ping(0);
}

TEST_F(EmbeddedNaming, FileHoldsTheReferenceWhileTheHostRuns) {
    const std::filesystem::path file = host_.scratch("ems.ior");
    host_.set("naming", "ior_file", quoted(file.string()));
    start();
    keepFactory();
    EXPECT_EQ(contentOf(file), factory_ + "\n");
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0644));
    std::string reference = contentOf(file);
    reference.pop_back();
    EXPECT_EQ(versionBy(reference), "3.5");
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(EmbeddedNaming, IsShownToTheOperator) {
    host_.set("naming", "aliases", "['EMS.Kind/factory']");
    start();
    ASSERT_TRUE(eventually([&] { return namingOf(host_).value("ours", false); }));
    const nlohmann::json naming = namingOf(host_);
    EXPECT_EQ(naming.value("mode", ""), "embedded");
    EXPECT_EQ(naming.value("address", ""), "127.0.0.1:" + std::to_string(host_.namingPort()));
    EXPECT_EQ(naming.value("replaced", -1), 0);
    const std::string table = printedBy(host_, {"naming"});
    EXPECT_THAT(table, HasSubstr("mode       embedded\n"));
    EXPECT_THAT(table, HasSubstr("alias      EMS.Kind/factory\n"));
    EXPECT_THAT(table, HasSubstr("entry      ours, checked at 20"));
    EXPECT_THAT(table, HasSubstr("reference  IOR:"));
}

}  // namespace
}  // namespace kelp::test
