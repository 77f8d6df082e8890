// The bundles of the inventory's managers, as the host loads them.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/bundle_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <mtnm/common.h>

#include <cstdio>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace kelp::test {
namespace {

using NS_BUNDLEMGR1::BundleMgr;
using NS_CORBA::CorbaBaseAgentConfig;

struct Bundle {
    const char* name;
    const char* manager;
    long startRank;
};

void PrintTo(const Bundle& bundle, std::ostream* out) {
    *out << bundle.name;
}

class OtherFactory final : public NS_CORBA::NorthMgrFactory {
  public:
    ~OtherFactory() override = default;
    POA_common::Common_I* CreateServant() override { return nullptr; }
};

class ManagerBundles : public testing::TestWithParam<Bundle> {
  protected:
    static std::string library() {
        return std::string(BUNDLE_DIR "/lib") + GetParam().name + ".so";
    }
    static bool start(std::string& whyNot) {
        return BundleMgr::Instance()->Start(BUNDLE_DIR, {GetParam().name}, whyNot);
    }
    static NS_CORBA::NorthMgrFactory* enteredFactory() {
        const auto* const map = CorbaBaseAgentConfig::Instance()->GetNorthMgrMap();
        if (map == nullptr)
            return nullptr;
        const auto found = map->find(GetParam().manager);
        return found == map->end() ? nullptr : found->second;
    }
};

INSTANTIATE_TEST_SUITE_P(Managers, ManagerBundles,
                         testing::Values(Bundle{"kelp_managedelement", "ManagedElement", 20},
                                         Bundle{"kelp_equipment", "EquipmentInventory", 30},
                                         Bundle{"kelp_multilayersubnetwork", "MultiLayerSubnetwork",
                                                40}),
                         [](const auto& bundle) { return std::string(bundle.param.manager); });

TEST_P(ManagerBundles, StartRegistersTheManagerAndStopRemovesIt) {
    std::string whyNot;
    ASSERT_TRUE(start(whyNot)) << whyNot;
    ASSERT_NE(enteredFactory(), nullptr);
    const NS_CORBA::MGRList* list = CorbaBaseAgentConfig::Instance()->GetMGRList();
    ASSERT_EQ(list->size(), 1u);
    NS_CORBA::CorbaI* manager = list->front();
    CorbaBaseAgentConfig::Instance()->FreeMGRList();
    EXPECT_STREQ(manager->Name(), GetParam().manager);
    EXPECT_EQ(manager->Order(), GetParam().startRank);
    EXPECT_TRUE(manager->Init());
    PortableServer::ServantBase_var servant(enteredFactory()->CreateServant());
    EXPECT_NE(servant.in(), nullptr);
    servant = nullptr;
    BundleMgr::Instance()->Stop();
    EXPECT_EQ(enteredFactory(), nullptr);
    EXPECT_EQ(CorbaBaseAgentConfig::Instance()->GetMGRList()->size(), 0u);
    CorbaBaseAgentConfig::Instance()->FreeMGRList();
}

TEST_P(ManagerBundles, ManagerNameInUsePreventsItsStart) {
    OtherFactory other;
    ASSERT_TRUE(CorbaBaseAgentConfig::Instance()->EnterNorthMgrFactory(GetParam().manager, &other));
    std::string whyNot;
    EXPECT_FALSE(start(whyNot));
    EXPECT_NE(whyNot.find(GetParam().name), std::string::npos) << whyNot;
    EXPECT_EQ(enteredFactory(), &other);
}

TEST_P(ManagerBundles, LeaveNoCodeBehindWhenTheyHaveStopped) {
    std::string whyNot;
    ASSERT_TRUE(start(whyNot)) << whyNot;
    BundleMgr::Instance()->Stop();
    void* const still = ::dlopen(library().c_str(), RTLD_NOW | RTLD_NOLOAD);
    EXPECT_EQ(still, nullptr) << "the library is loaded still";
}

TEST_P(ManagerBundles, ShowOnlyTheirFactoryFunction) {
    const std::string command = "nm -D --defined-only --extern-only " + library();
    const std::unique_ptr<FILE, int (*)(FILE*)> output(::popen(command.c_str(), "r"), ::pclose);
    ASSERT_NE(output, nullptr);
    std::string symbols;
    char address[64];
    char kind[8];
    char name[256];
    while (std::fscanf(output.get(), "%63s %7s %255s", address, kind, name) == 3)
        symbols += std::string(name) + "\n";
    EXPECT_EQ(symbols, std::string("_make_") + GetParam().name + "\n");
}

class UnimplementedBundle : public testing::Test {
  protected:
    // The module stays loaded. Only the agent, which is not started here, could destroy its error
    // texts.
    static void SetUpTestSuite() {
        ASSERT_NE(::dlopen(BUNDLE_DIR "/libmx_kelpcorba_env.so", RTLD_NOW), nullptr) << ::dlerror();
    }
    static bool start(const std::vector<std::string>& bundles) {
        std::string whyNot;
        const bool runs = BundleMgr::Instance()->Start(BUNDLE_DIR, bundles, whyNot);
        EXPECT_TRUE(runs) << whyNot;
        return runs;
    }
    static NS_CORBA::NorthMgrMap offered() {
        return *CorbaBaseAgentConfig::Instance()->GetNorthMgrMap();
    }
};

/// True if the manager offered under that name has capabilities. The stand-in for an unimplemented
/// manager throws.
bool isImplemented(const NS_CORBA::NorthMgrMap& offered, const char* name) {
    POA_common::Common_I* const manager = offered.at(name)->CreateServant();
    const PortableServer::ServantBase_var owner(manager);
    try {
        common::CapabilityList_T_var capabilities;
        manager->getCapabilities(capabilities.out());
        return true;
    } catch (const globaldefs::ProcessingFailureException&) {
        return false;
    }
}

TEST_F(UnimplementedBundle, ServesManagersWithoutABundleWhereverItIsListed) {
    for (const std::vector<std::string>& bundles :
         {std::vector<std::string>{"kelp_unimplemented", "kelp_equipment"},
          std::vector<std::string>{"kelp_equipment", "kelp_unimplemented"}}) {
        ASSERT_TRUE(start(bundles));
        EXPECT_EQ(offered().size(), 15u);
        EXPECT_TRUE(isImplemented(offered(), "EquipmentInventory"));
        EXPECT_FALSE(isImplemented(offered(), "FlowDomain"));
        BundleMgr::Instance()->Stop();
        EXPECT_TRUE(offered().empty());
    }
}

TEST_F(UnimplementedBundle, LeavesNoCodeBehindWhenItHasStopped) {
    ASSERT_TRUE(start({"kelp_unimplemented"}));
    EXPECT_EQ(offered().size(), 15u);
    EXPECT_FALSE(isImplemented(offered(), "EMS"));
    BundleMgr::Instance()->Stop();
    EXPECT_EQ(::dlopen(BUNDLE_DIR "/libkelp_unimplemented.so", RTLD_NOW | RTLD_NOLOAD), nullptr)
        << "the library is loaded still";
}

}  // namespace
}  // namespace kelp::test
