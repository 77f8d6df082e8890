#include <kelp/bundlemgr/config_store.h>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using NS_BUNDLEMGR1::ConfigStore;

TEST(LogSettings, AreTheDefaultsBelowTheStateDirectory) {
    const ScopedEnvironment state("STATE_DIRECTORY", "/var/lib/kelp");
    const LogSettings settings = configuredOperationLog();
    EXPECT_EQ(settings.database, "/var/lib/kelp/oplog.db");
    EXPECT_EQ(settings.retention.age, std::chrono::days(180));
    EXPECT_EQ(settings.retention.bytes, 1024u << 20);
    EXPECT_EQ(settings.queueMax, 200000u);
    EXPECT_EQ(settings.stallMax, 2s);
    EXPECT_EQ(configuredSecurityLog().database, "/var/lib/kelp/oplog-audit.db");
    EXPECT_EQ(configuredSecurityLog().auditKeyFile, "/var/lib/kelp/audit.key");
    EXPECT_TRUE(settings.auditKeyFile.empty());
    EXPECT_EQ(configuredLogBeforeLogIn().database, "/var/lib/kelp/oplog-before-login.db");
    EXPECT_EQ(configuredLogBeforeLogIn().retention.bytes, 64u << 20);
    EXPECT_EQ(configuredLogBeforeLogIn().stallMax, 0ms)
        << "whoever is not logged in holds nobody up";
    EXPECT_EQ(configuredRecordsBeforeLogIn(), 100u);
}

TEST(LogSettings, AreThoseConfigured) {
    ASSERT_TRUE(
        ConfigStore::instance()
            .loadText("[oplog]\ndatabase = \"/logs/calls.sqlite\"\nkeep_days = 7\nkeep_mib = 2\n"
                      "queue_max = 10\nstall_max_ms = 0\nkeep_before_login_mib = 3\n"
                      "records_per_minute_before_login = 7\n",
                      "test")
            .empty());
    for (const LogSettings& settings : {configuredOperationLog(), configuredSecurityLog()}) {
        EXPECT_EQ(settings.retention.age, std::chrono::days(7));
        EXPECT_EQ(settings.retention.bytes, 2u << 20);
        EXPECT_EQ(settings.queueMax, 10u);
        EXPECT_EQ(settings.stallMax, 0ms);
    }
    EXPECT_EQ(configuredOperationLog().database, "/logs/calls.sqlite");
    EXPECT_EQ(configuredLogBeforeLogIn().database, "/logs/calls-before-login.sqlite");
    EXPECT_EQ(configuredLogBeforeLogIn().retention.bytes, 3u << 20);
    EXPECT_EQ(configuredLogBeforeLogIn().retention.age, std::chrono::days(7));
    EXPECT_EQ(configuredLogBeforeLogIn().queueMax, 10u);
    EXPECT_EQ(configuredRecordsBeforeLogIn(), 7u);
    EXPECT_EQ(configuredSecurityLog().database, "/logs/calls-audit.sqlite");
    EXPECT_EQ(configuredSecurityLog().auditKeyFile, "/logs/audit.key");
}

TEST(LogSettings, NameTheKeyFileConfigured) {
    ASSERT_TRUE(ConfigStore::instance()
                    .loadText("[oplog]\naudit_key_file = \"/keys/kelp.key\"\n", "test")
                    .empty());
    EXPECT_EQ(configuredSecurityLog().auditKeyFile, "/keys/kelp.key");
}

}  // namespace
}  // namespace kelp::test
