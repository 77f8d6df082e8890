#include <kelp/admin/registry.h>
#include <kelp/alarms/alarm_service.h>
#include <kelp/bundlemgr/bundle_mgr.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/changelog/sqlite_log.h>
#include <sys/stat.h>

#include "harness/port_lease.h"
#include "receiver_fixture.h"

namespace {

using namespace kelp::test;
using kelp::alarms::AlarmService;
using NS_BUNDLEMGR1::BundleMgr;
using NS_BUNDLEMGR1::ConfigStore;

/// The bundle kelp_snmp with the alarm list, as the host has them.
class SnmpBundle : public SnmpTest {
  protected:
    SnmpBundle() : state_("STATE_DIRECTORY", folder_.path().c_str()) {
        const std::string communities = folder_.write("communities", "public\n");
        ::chmod(communities.c_str(), 0600);
        const std::vector<NS_BUNDLEMGR1::ConfigProblem> problems = ConfigStore::instance().loadText(
            "[snmp]\nlisten = [\"" + lease_.hostAndPort() +
                "\"]\nsources = [\"127.0.0.0/8\"]\nmappings = [\"" SHIPPED_MAPPINGS
                "/standard.toml\"]\ncommunities_file = \"" +
                communities + "\"\n",
            "test.toml");
        for (const auto& each : problems)
            ADD_FAILURE() << each.text();
        kelp::alarms::ServiceSettings settings;
        settings.savedLists = folder_ / "lists";
        kelp::changelog::SqliteLogSettings log;
        log.file = folder_ / "alarms.log";
        service_ = std::make_shared<AlarmService>(settings, kelp::changelog::openSqliteLog(log));
        service_->start();
        kelp::alarms::shareService(service_);
    }
    ~SnmpBundle() override {
        BundleMgr::Instance()->Stop();
        kelp::alarms::shareService(nullptr);
        ConfigStore::instance().reset();
    }

    void startBundle() {
        std::string whyNot;
        ASSERT_TRUE(BundleMgr::Instance()->Start(BUNDLE_DIR, {"kelp_snmp"}, whyNot)) << whyNot;
    }
    /// Run snmpinform with a trap of port 4.
    int inform(const std::string& trap) {
        Launch launch = tool(SNMPINFORM, version2c(), lease_.hostAndPort(),
                             {trap, "1.3.6.1.2.1.2.2.1.1.4", "i", "4"});
        return runToEnd(launch);
    }

    const ScopedEnvironment state_;
    const PortLease lease_;
    std::shared_ptr<AlarmService> service_;
};

TEST_F(SnmpBundle, PutsTheAlarmsOfInformsIntoTheList) {
    startBundle();
    EXPECT_EQ(inform("1.3.6.1.6.3.1.1.5.3"), 0);
    EXPECT_EQ(service_->state()->size(), 1u);
    EXPECT_EQ(inform("1.3.6.1.6.3.1.1.5.4"), 0);
    EXPECT_EQ(service_->state()->size(), 0u);
    EXPECT_EQ(kelp::admin::Registry::instance().answer("GET", "/snmp", "").body["stored"], 2);
}

TEST_F(SnmpBundle, AcknowledgesNothingThatTheListDoesNotAccept) {
    startBundle();
    service_->stop();
    EXPECT_EQ(inform("1.3.6.1.6.3.1.1.5.3"), 1);
    EXPECT_EQ(kelp::admin::Registry::instance().answer("GET", "/snmp", "").body["notStored"], 1);
}

TEST_F(SnmpBundle, DoesNotStartWithAMappingThatIsWrong) {
    ConfigStore::instance().loadText(
        "[snmp]\nlisten = [\"" + lease_.hostAndPort() + "\"]\nsources = [\"127.0.0.1\"]\n" +
            "mappings = [\"" + folder_.write("bad.toml", "colour = 1\n").string() + "\"]\n",
        "test.toml");
    std::string whyNot;
    EXPECT_FALSE(BundleMgr::Instance()->Start(BUNDLE_DIR, {"kelp_snmp"}, whyNot));
}

}  // namespace
