#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/base_config.h>

#include <future>

using NS_CORBA::CorbaBaseAgentConfig;
using NS_CORBA::CorbaI;
using NS_CORBA::MGRList;
using NS_CORBA::NorthMgrFactory;
using NS_CORBA::NorthMgrMap;

namespace {

class Interface : public CorbaI {
  public:
    bool Init() override { return true; }
    void ExitThread() override {}
    void Destroy() override {}
    long Order() override { return 0; }
    const char* Name() override { return "test"; }
};

class Factory : public NorthMgrFactory {
  public:
    POA_common::Common_I* CreateServant() override { return nullptr; }
};

CorbaBaseAgentConfig& base() {
    return *CorbaBaseAgentConfig::Instance();
}

TEST(ManagerList, IsNullUntilABundleHasEntered) {
    EXPECT_EQ(base().GetMGRList(), nullptr);
    Interface entered;
    base().EnterManagerInterface(&entered);
    base().LeaveManagerInterface(&entered);
    const MGRList* list = base().GetMGRList();
    ASSERT_NE(list, nullptr);
    EXPECT_TRUE(list->empty());
    base().FreeMGRList();
}

TEST(ManagerList, KeepsTheOrderOfEntryAndNoInterfaceTwice) {
    Interface first;
    Interface second;
    base().EnterManagerInterface(&first);
    base().EnterManagerInterface(&second);
    base().EnterManagerInterface(&first);
    base().EnterManagerInterface(nullptr);
    EXPECT_EQ(*base().GetMGRList(), (MGRList{&first, &second}));
    base().FreeMGRList();
}

TEST(ManagerList, IsHeldAgainstOtherThreadsUntilFreed) {
    Interface entered;
    Interface late;
    base().EnterManagerInterface(&entered);
    const MGRList* list = base().GetMGRList();
    std::future<void> other =
        std::async(std::launch::async, [&] { base().EnterManagerInterface(&late); });
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_EQ(list->size(), 1u);
    base().FreeMGRList();
    other.get();
    EXPECT_EQ(base().GetMGRList()->size(), 2u);
    base().FreeMGRList();
}

TEST(ManagerList, TheHoldingThreadMayChangeItAndHoldItTwice) {
    Interface entered;
    Interface another;
    base().EnterManagerInterface(&entered);
    ASSERT_NE(base().GetMGRList(), nullptr);
    ASSERT_NE(base().GetMGRList(), nullptr);
    base().EnterManagerInterface(&another);
    base().FreeMGRList();
    std::future<void> other =
        std::async(std::launch::async, [&] { base().LeaveManagerInterface(&entered); });
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    base().FreeMGRList();
    other.get();
}

TEST(ManagerList, FreeingWhatIsNotHeldIsHarmless) {
    base().FreeMGRList();
    Interface entered;
    base().EnterManagerInterface(&entered);
    ASSERT_NE(base().GetMGRList(), nullptr);
    std::async(std::launch::async, [] { base().FreeMGRList(); }).get();
    std::future<void> other =
        std::async(std::launch::async, [&] { base().LeaveManagerInterface(&entered); });
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    base().FreeMGRList();
    other.get();
}

TEST(ManagerMap, IsNullUntilABundleHasEnteredAndHasNoNameTwice) {
    EXPECT_EQ(base().GetNorthMgrMap(), nullptr);
    Factory first;
    Factory second;
    EXPECT_TRUE(base().EnterNorthMgrFactory("EMS", &first));
    EXPECT_FALSE(base().EnterNorthMgrFactory("EMS", &second));
    EXPECT_TRUE(base().EnterNorthMgrFactory("ems", &second));
    EXPECT_EQ(*base().GetNorthMgrMap(), (NorthMgrMap{{"EMS", &first}, {"ems", &second}}));
    base().LeaveNorthMgrFactory("EMS");
    base().LeaveNorthMgrFactory("nobody");
    EXPECT_EQ(*base().GetNorthMgrMap(), (NorthMgrMap{{"ems", &second}}));
    EXPECT_TRUE(base().EnterNorthMgrFactory("EMS", &second));
}

TEST(ManagerMap, AFallbackStandsInWhileNobodyElseHasEnteredItsName) {
    Factory fallback;
    Factory real;
    base().EnterFallbackMgrFactory("FlowDomain", &fallback);
    EXPECT_EQ(*base().GetNorthMgrMap(), (NorthMgrMap{{"FlowDomain", &fallback}}));
    EXPECT_TRUE(base().EnterNorthMgrFactory("FlowDomain", &real));
    base().EnterFallbackMgrFactory("FlowDomain", &fallback);
    EXPECT_EQ(*base().GetNorthMgrMap(), (NorthMgrMap{{"FlowDomain", &real}}));
    base().LeaveNorthMgrFactory("FlowDomain");
    EXPECT_EQ(*base().GetNorthMgrMap(), (NorthMgrMap{{"FlowDomain", &fallback}}));
    base().LeaveFallbackMgrFactory("FlowDomain");
    base().LeaveFallbackMgrFactory("FlowDomain");
    EXPECT_TRUE(base().GetNorthMgrMap()->empty());
}

TEST(ManagerMap, LeavesOutManagersOfTheStandardThatAreNotOffered) {
    auto& config = NS_BUNDLEMGR1::ConfigStore::instance();
    ASSERT_TRUE(config.loadText("[managers]\noffered = [\"EMS\"]\n", "test").empty());
    Factory factory;
    EXPECT_TRUE(base().EnterNorthMgrFactory("EMS", &factory));
    EXPECT_TRUE(base().EnterNorthMgrFactory("Protection", &factory));
    EXPECT_FALSE(base().EnterNorthMgrFactory("Protection", &factory))
        << "it is entered all the same";
    EXPECT_TRUE(base().EnterNorthMgrFactory("AVendorsOwn", &factory));
    base().EnterFallbackMgrFactory("FlowDomain", &factory);
    EXPECT_EQ(*base().GetNorthMgrMap(),
              (NorthMgrMap{{"AVendorsOwn", &factory}, {"EMS", &factory}}));
    config.reset();
}

TEST(ManagerMap, AMapHandedOutIsNeverChanged) {
    Factory factory;
    ASSERT_TRUE(base().EnterNorthMgrFactory("EMS", &factory));
    const NorthMgrMap* before = base().GetNorthMgrMap();
    ASSERT_TRUE(base().EnterNorthMgrFactory("ManagedElement", &factory));
    base().LeaveNorthMgrFactory("EMS");
    EXPECT_EQ(*before, (NorthMgrMap{{"EMS", &factory}}));
    EXPECT_EQ(*base().GetNorthMgrMap(), (NorthMgrMap{{"ManagedElement", &factory}}));
}

}  // namespace
