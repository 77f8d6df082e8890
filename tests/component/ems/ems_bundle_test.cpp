#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kelp/admin/registry.h>
#include <kelp/bundlemgr/bundle_mgr.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/base_config.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include "support/temporary_directory.h"

namespace kelp::ems {
namespace {

using NS_BUNDLEMGR1::BundleMgr;
using NS_CORBA::CorbaBaseAgentConfig;

class OtherFactory final : public NS_CORBA::NorthMgrFactory {
  public:
    ~OtherFactory() override = default;
    POA_common::Common_I* CreateServant() override { return nullptr; }
};

/// The folder of the alarms of this process.
const kelp::test::TemporaryDirectory& alarmFolder() {
    static const kelp::test::TemporaryDirectory folder;
    return folder;
}

bool startBundle(std::string& whyNot) {
    EXPECT_TRUE(
        NS_BUNDLEMGR1::ConfigStore::instance()
            .loadText("[alarms]\nlog = \"" + (alarmFolder() / "changes.db").string() + "\"\n",
                      "test")
            .empty());
    return BundleMgr::Instance()->Start(EMS_BUNDLE_DIR, {"kelp_ems"}, whyNot);
}

std::set<std::string> enteredManagers() {
    std::set<std::string> names;
    if (const auto* map = CorbaBaseAgentConfig::Instance()->GetNorthMgrMap(); map != nullptr) {
        for (const auto& [name, factory] : *map)
            names.insert(name);
    }
    return names;
}

std::size_t enteredInterfaces() {
    const NS_CORBA::MGRList* list = CorbaBaseAgentConfig::Instance()->GetMGRList();
    const std::size_t count = list == nullptr ? 0 : list->size();
    CorbaBaseAgentConfig::Instance()->FreeMGRList();
    return count;
}

TEST(EmsBundle, StartRegistersTheManagerAndStopRemovesIt) {
    std::string whyNot;
    ASSERT_TRUE(startBundle(whyNot)) << whyNot;
    EXPECT_EQ(enteredManagers(), std::set<std::string>{"EMS"});
    EXPECT_EQ(enteredInterfaces(), 1u);
    BundleMgr::Instance()->Stop();
    EXPECT_TRUE(enteredManagers().empty());
    EXPECT_EQ(enteredInterfaces(), 0u);
}

TEST(EmsBundle, AnswersAlarmRequestsWhileItRuns) {
    admin::Registry& registry = admin::Registry::instance();
    EXPECT_EQ(registry.answer("POST", "/alarms", "[]").status, 404);
    std::string whyNot;
    ASSERT_TRUE(startBundle(whyNot)) << whyNot;
    EXPECT_EQ(registry.answer("POST", "/alarms", "[]").status, 200);
    EXPECT_EQ(registry.answer("POST", "/alarms", "7").status, 400);
    BundleMgr::Instance()->Stop();
    EXPECT_EQ(registry.answer("POST", "/alarms", "[]").status, 404);
}

TEST(EmsBundle, AlarmRequestsOfAnotherBundlePreventItsStartAndNothingRemains) {
    const admin::Registration other = admin::Registry::instance().enter(
        "POST", "/alarms", [](const admin::Json&) { return admin::Json("other"); });
    std::string whyNot;
    EXPECT_FALSE(startBundle(whyNot));
    EXPECT_NE(whyNot.find("POST /alarms is already answered by another bundle"), std::string::npos)
        << whyNot;
    EXPECT_TRUE(enteredManagers().empty());
    EXPECT_EQ(enteredInterfaces(), 0u);
}

TEST(EmsBundle, LeavesNoCodeBehindWhenItHasStopped) {
    std::string whyNot;
    ASSERT_TRUE(startBundle(whyNot)) << whyNot;
    BundleMgr::Instance()->Stop();
    void* const still = ::dlopen(EMS_BUNDLE_DIR "/libkelp_ems.so", RTLD_NOW | RTLD_NOLOAD);
    EXPECT_EQ(still, nullptr) << "the library is loaded still";
}

TEST(EmsBundle, InterfaceStartsEarlyUnderItsName) {
    std::string whyNot;
    ASSERT_TRUE(startBundle(whyNot)) << whyNot;
    const NS_CORBA::MGRList* list = CorbaBaseAgentConfig::Instance()->GetMGRList();
    ASSERT_EQ(list->size(), 1u);
    NS_CORBA::CorbaI* ems = list->front();
    CorbaBaseAgentConfig::Instance()->FreeMGRList();
    EXPECT_STREQ(ems->Name(), "EMS");
    EXPECT_EQ(ems->Order(), 10);
    EXPECT_TRUE(ems->Init());
    ems->ExitThread();
    ems->Destroy();
    BundleMgr::Instance()->Stop();
}

TEST(EmsBundle, AlarmsThatCannotBeReadPreventItsStart) {
    alarmFolder().write("changes.db",
                        "this is no database, but long enough to be looked at closely");
    std::string whyNot;
    EXPECT_FALSE(startBundle(whyNot));
    EXPECT_NE(whyNot.find("changes.db"), std::string::npos) << whyNot;
    EXPECT_TRUE(enteredManagers().empty());
    EXPECT_EQ(admin::Registry::instance().answer("POST", "/alarms", "[]").status, 404);
    std::filesystem::remove(alarmFolder() / "changes.db");
}

TEST(EmsBundle, AlarmsOutliveTheBundle) {
    const std::string alarm =
        R"({"objectName": {"EMS": "Kelp/EMS"}, "probableCause": "DISK", "perceivedSeverity": "PS_MINOR"})";
    std::string whyNot;
    ASSERT_TRUE(startBundle(whyNot)) << whyNot;
    EXPECT_EQ(admin::Registry::instance().answer("POST", "/alarms", alarm).body["outcomes"][0],
              "raised");
    BundleMgr::Instance()->Stop();
    ASSERT_TRUE(startBundle(whyNot)) << whyNot;
    EXPECT_EQ(admin::Registry::instance().answer("POST", "/alarms", alarm).body["outcomes"][0],
              "repeated");
    BundleMgr::Instance()->Stop();
}

TEST(EmsBundle, ManagerNameInUsePreventsItsStart) {
    OtherFactory other;
    ASSERT_TRUE(CorbaBaseAgentConfig::Instance()->EnterNorthMgrFactory("EMS", &other));
    std::string whyNot;
    EXPECT_FALSE(startBundle(whyNot));
    EXPECT_NE(whyNot.find("kelp_ems"), std::string::npos) << whyNot;
    EXPECT_EQ(enteredInterfaces(), 0u);
    EXPECT_EQ(CorbaBaseAgentConfig::Instance()->GetNorthMgrMap()->at("EMS"), &other);
    EXPECT_EQ(admin::Registry::instance().answer("POST", "/alarms", "[]").status, 404);
}

TEST(EmsBundle, FactoryFunctionIsTheOnlyThingExported) {
    const std::string command =
        "nm -D --defined-only --extern-only " EMS_BUNDLE_DIR "/libkelp_ems.so";
    const std::unique_ptr<FILE, int (*)(FILE*)> output(::popen(command.c_str(), "r"), ::pclose);
    ASSERT_NE(output, nullptr);
    std::string symbols;
    char address[64];
    char kind[8];
    char name[256];
    while (std::fscanf(output.get(), "%63s %7s %255s", address, kind, name) == 3)
        symbols += std::string(name) + "\n";
    EXPECT_EQ(symbols, "_make_kelp_ems\n");
}

}  // namespace
}  // namespace kelp::ems
