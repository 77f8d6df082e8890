#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_schema.h>
#include <kelp/bundlemgr/config_store.h>

#include <string>

#include "support/temporary_directory.h"
#include "support/trace_capture.h"

namespace {

using NS_BUNDLEMGR1::ConfigStore;
using testing::IsEmpty;

class ConfigReload : public testing::Test {
  protected:
    void load(const std::string& toml) {
        ASSERT_THAT(store.load(directory.write("kelp.toml", toml)), IsEmpty());
    }
    void reload(const std::string& toml) {
        directory.write("kelp.toml", toml);
        ASSERT_THAT(store.reload(), IsEmpty());
    }

    ConfigStore& store = ConfigStore::instance();
    const kelp::test::TemporaryDirectory directory;
    const kelp::test::TraceCapture trace;
};

TEST_F(ConfigReload, AppliesWhatNeedsNoRestart) {
    load("[session]\nmax_sessions = 5\n[agent]\nCachesize = 1\n");
    reload("[session]\nmax_sessions = 6\n[agent]\nCachesize = 2\nEventlistsize = 3\n");
    EXPECT_EQ(store.integer("session.max_sessions"), 6);
    EXPECT_EQ(store.agentInteger("Cachesize"), 2);
    EXPECT_EQ(store.agentInteger("Eventlistsize"), 3);
    reload("");
    EXPECT_EQ(store.integer("session.max_sessions"), 100);
    EXPECT_EQ(store.agentInteger("Cachesize"), std::nullopt);
}

TEST_F(ConfigReload, ReportsWhatWaitsForARestart) {
    load("[ems]\nname = 'A/B'\n");
    for (int again = 0; again < 2; ++again) {
        directory.write("kelp.toml", "[session]\nmax_sessions = 6\n[ems]\nname = 'A/C'\n");
        std::vector<NS_BUNDLEMGR1::ConfigChange> changes;
        std::vector<NS_BUNDLEMGR1::ConfigChange> waiting;
        ASSERT_THAT(store.reload(&changes, &waiting), IsEmpty());
        EXPECT_EQ(changes.size(), again == 0 ? 1u : 0u);
        ASSERT_EQ(waiting.size(), 1u) << "also when nothing has changed since";
        EXPECT_EQ(waiting[0].key, "ems.name");
        EXPECT_NE(waiting[0].before.find("A/B"), std::string::npos);
        EXPECT_NE(waiting[0].after.find("A/C"), std::string::npos);
    }
}

class ConfigSettings : public ConfigReload {
  protected:
    NS_BUNDLEMGR1::ConfigSetting setting(const std::string& key) const {
        for (const NS_BUNDLEMGR1::ConfigSetting& each : store.settings()) {
            if (each.key == key)
                return each;
        }
        return {};
    }
};

TEST_F(ConfigSettings, HaveTheirOrigin) {
    load("[session]\nmax_sessions = 5\n[agent]\nCachesize = 1\n");
    EXPECT_EQ(store.settings().size(), NS_BUNDLEMGR1::configKeys().size());
    EXPECT_EQ(setting("session.max_sessions").value, "5");
    EXPECT_EQ(setting("session.max_sessions").line, 2);
    EXPECT_TRUE(setting("session.max_sessions").file.ends_with("/kelp.toml"));
    EXPECT_EQ(setting("agent.Cachesize").value, "1");
    EXPECT_EQ(setting("agent.Cachesize").line, 4);
    EXPECT_EQ(setting("orb.threads_max").file, "");
    EXPECT_EQ(setting("orb.threads_max").value, "0");
}

TEST_F(ConfigSettings, TellWhyAnAgentOptionIsNotUsed) {
    load("[agent]\nCachesize = 'many'\n");
    EXPECT_NE(setting("agent.Cachesize").problem, "");
    EXPECT_EQ(setting("agent.Cachesize").line, 2);
    EXPECT_EQ(setting("agent.Cachesize").value.find("many"), std::string::npos);
}

TEST_F(ConfigSettings, TellWhatTheNextStartUses) {
    load("[ems]\nname = 'A/B'\n");
    reload("[ems]\nname = 'A/C'\n");
    EXPECT_NE(setting("ems.name").value.find("A/B"), std::string::npos);
    EXPECT_NE(setting("ems.name").waiting.find("A/C"), std::string::npos);
    reload("[ems]\nname = 'A/B'\n");
    EXPECT_EQ(setting("ems.name").waiting, "");
}

TEST_F(ConfigReload, ReportsWhatItChanged) {
    load("[session]\nmax_sessions = 5\nping_interval_s = 5\n[agent]\nCachesize = 1\n");
    const std::uint64_t before = store.generation();
    directory.write(
        "kelp.toml",
        "[session]\nmax_sessions = 6\nping_interval_s = 6\n[access]\nallowed_oss = [\"10.0.0.1\", "
        "\"::1\"]\n[agent]\nCharacterSetSwitch = 1\n");
    std::vector<NS_BUNDLEMGR1::ConfigChange> changes;
    ASSERT_THAT(store.reload(&changes), IsEmpty());
    std::vector<std::string> told;
    for (const NS_BUNDLEMGR1::ConfigChange& each : changes)
        told.push_back(each.key + ": " + each.before + " -> " + each.after);
    EXPECT_THAT(told, testing::ElementsAre(
                          "session.max_sessions: 5 -> 6",
                          "access.allowed_oss: [\"127.0.0.0/8\"] -> [\"10.0.0.1\", \"::1\"]",
                          "agent.Cachesize: 1 -> ", "agent.CharacterSetSwitch:  -> 1"));
    EXPECT_NE(store.generation(), before);
}

TEST_F(ConfigReload, OfAnInvalidFileChangesAndReportsNothing) {
    load("[session]\nmax_sessions = 5\n");
    const std::uint64_t before = store.generation();
    directory.write("kelp.toml", "[session]\nmax_sessions = 0\n");
    std::vector<NS_BUNDLEMGR1::ConfigChange> changes;
    EXPECT_THAT(store.reload(&changes), testing::SizeIs(1));
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_EQ(store.generation(), before);
}

TEST_F(ConfigReload, KeepsTheFirstValueOfWhatNeedsARestartAndSaysSo) {
    load("[session]\nping_interval_s = 5\n");
    reload("[session]\nrelease_strategy = 2\nping_interval_s = 6\n");
    EXPECT_EQ(store.integer("session.ping_interval_s"), 5);
    EXPECT_EQ(store.integer("session.release_strategy"), 0);
    EXPECT_TRUE(trace.contains(
        "kelp.toml:3: session.ping_interval_s: has changed, which takes effect at the next "
        "start"));
    reload("[session]\nping_interval_s = 7\n");
    EXPECT_EQ(store.integer("session.ping_interval_s"), 5);
}

TEST_F(ConfigReload, ReleaseStrategyPingModeAndIntervalsNeedARestart) {
    for (const std::string key :
         {"session.release_strategy", "session.ping_mode", "session.ping_interval_s",
          "session.silent_time_s", "orb.listen", "ems.name", "naming.embedded"}) {
        ASSERT_NE(NS_BUNDLEMGR1::findConfigKey(key), nullptr) << key;
        EXPECT_TRUE(NS_BUNDLEMGR1::findConfigKey(key)->needsRestart) << key;
    }
}

TEST_F(ConfigReload, EmbeddedNamingServiceStaysWhereItIs) {
    load("[naming]\nport = 5000\n");
    reload("[naming]\nport = 5001\n");
    EXPECT_EQ(store.integer("naming.port"), 5000);
}

TEST_F(ConfigReload, EmbeddedNamingServiceGetsNewAliases) {
    load("[naming]\naliases = [\"a\"]\n");
    reload("[naming]\naliases = [\"b/c\"]\nlist_max = 7\n");
    EXPECT_THAT(store.texts("naming.aliases"), testing::ElementsAre("b/c"));
    EXPECT_EQ(store.integer("naming.list_max"), 7);
}

TEST_F(ConfigReload, ExternalNamingServiceMayMove) {
    load("[naming]\nembedded = false\nhost = \"192.0.2.1\"\n");
    reload("[naming]\nembedded = false\nhost = \"192.0.2.2\"\nport = 5001\n");
    EXPECT_EQ(store.text("naming.host"), "192.0.2.2");
    EXPECT_EQ(store.integer("naming.port"), 5001);
}

TEST_F(ConfigReload, FileWithAProblemChangesNothing) {
    load("[session]\nmax_sessions = 5\n");
    directory.write("kelp.toml", "[session]\nmax_sessions = 6\nunknown = 1\n");
    EXPECT_THAT(store.reload(), testing::SizeIs(1));
    EXPECT_EQ(store.integer("session.max_sessions"), 5);
    reload("[session]\nmax_sessions = 7\n");
    EXPECT_EQ(store.integer("session.max_sessions"), 7) << "the file is still known";
}

TEST_F(ConfigReload, WithoutAFileNothingHappens) {
    ASSERT_THAT(store.loadText("[session]\nmax_sessions = 5\n", "kelp.toml"), IsEmpty());
    EXPECT_THAT(store.reload(), IsEmpty());
    EXPECT_EQ(store.integer("session.max_sessions"), 5);
}

TEST_F(ConfigReload, NewLoadAppliesEverything) {
    load("[session]\nping_interval_s = 5\n");
    load("[session]\nping_interval_s = 6\n");
    EXPECT_EQ(store.integer("session.ping_interval_s"), 6);
}

}  // namespace
