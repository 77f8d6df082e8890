#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/temporary_directory.h"

namespace {

using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ConfigStore;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

ConfigStore& store() {
    return ConfigStore::instance();
}

/// Load the text. Return the texts of the problems.
std::vector<std::string> load(const std::string& toml) {
    std::vector<std::string> texts;
    for (const ConfigProblem& problem : store().loadText(toml, "kelp.toml"))
        texts.push_back(problem.text());
    return texts;
}

TEST(ConfigStore, WithoutAFileEveryKeyHasItsDefault) {
    store().reset();
    EXPECT_EQ(store().text("ems.name"), "Kelp/EMS");
    EXPECT_EQ(store().text("orb.listen"), "127.0.0.1:4800");
    EXPECT_EQ(store().integer("session.ping_interval_s"), 60);
    EXPECT_EQ(store().integer("session.silent_time_s"), 1800);
    EXPECT_TRUE(store().flag("naming.embedded"));
    EXPECT_THAT(store().texts("access.allowed_oss"), ElementsAre("127.0.0.0/8"));
    EXPECT_TRUE(store().file().empty());
}

TEST(ConfigStore, ValuesOfTheFileReplaceDefaultsAndTheRestStays) {
    EXPECT_THAT(load(R"(
[ems]
name = "Acme/North"
[session]
ping_mode = false
ping_interval_s = 5
[access]
allowed_oss = ["10.0.0.0/8", "2001:db8::/32", "192.168.1.7"]
)"),
                IsEmpty());
    EXPECT_EQ(store().text("ems.name"), "Acme/North");
    EXPECT_FALSE(store().flag("session.ping_mode"));
    EXPECT_EQ(store().integer("session.ping_interval_s"), 5);
    EXPECT_THAT(store().texts("access.allowed_oss"),
                ElementsAre("10.0.0.0/8", "2001:db8::/32", "192.168.1.7"));
    EXPECT_EQ(store().integer("session.call_timeout_s"), 10);
}

TEST(ConfigStore, ALaterLoadForgetsTheEarlierOne) {
    EXPECT_THAT(load("[session]\nping_interval_s = 5\nmax_sessions = 7\n"), IsEmpty());
    EXPECT_THAT(load("[session]\nmax_sessions = 8\n"), IsEmpty());
    EXPECT_EQ(store().integer("session.ping_interval_s"), 60);
    EXPECT_EQ(store().integer("session.max_sessions"), 8);
    store().reset();
    EXPECT_EQ(store().integer("session.max_sessions"), 100);
}

TEST(ConfigStore, FileIsReadAndRemembered) {
    const kelp::test::TemporaryDirectory directory;
    const auto file = directory.write("kelp.toml", "[ems]\nname = \"Acme/North\"\n");
    EXPECT_THAT(store().load(file), IsEmpty());
    EXPECT_EQ(store().file(), file);
    EXPECT_EQ(store().text("ems.name"), "Acme/North");
}

TEST(ConfigStore, FileThatCannotBeReadIsAProblemOfTheWholeFile) {
    const kelp::test::TemporaryDirectory directory;
    const auto missing = directory.path() / "missing.toml";
    const std::vector<ConfigProblem> problems = store().load(missing);
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_EQ(problems[0].file, missing.string());
    EXPECT_EQ(problems[0].line, 0);
    EXPECT_EQ(problems[0].text(), missing.string() + ": cannot be read: No such file or directory");
    EXPECT_THAT(store().load(directory.path()).at(0).what, HasSubstr("is a directory"));
}

TEST(ConfigStore, FileWithAProblemReplacesNothing) {
    EXPECT_THAT(load("[ems]\nname = \"Acme/North\"\n"), IsEmpty());
    EXPECT_THAT(load("[ems]\nname = \"Acme/South\"\n[session]\nping_interval_s = 0\n"),
                testing::SizeIs(1));
    EXPECT_EQ(store().text("ems.name"), "Acme/North");
}

TEST(ConfigStore, SyntaxErrorNamesFileAndLine) {
    const std::vector<ConfigProblem> problems =
        store().loadText("[ems]\nname = \"Acme/North\"\nversion = = 3\n", "kelp.toml");
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_EQ(problems[0].line, 3);
    EXPECT_EQ(problems[0].key, "");
    EXPECT_THAT(problems[0].text(), testing::StartsWith("kelp.toml:3: is not valid TOML: "));
}

TEST(ConfigStore, KeyGivenTwiceIsASyntaxErrorWithItsLine) {
    const std::vector<ConfigProblem> problems =
        store().loadText("[ems]\nname = \"A/B\"\nname = \"C/D\"\n", "kelp.toml");
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_EQ(problems[0].line, 3);
}

TEST(ConfigStore, UnknownNamesAreProblemsWithASuggestion) {
    EXPECT_THAT(
        load("[session]\nping_intervall_s = 5\n"),
        ElementsAre(
            "kelp.toml:2: session.ping_intervall_s: is not a key of [session]; did you mean "
            "\"ping_interval_s\"?"));
    EXPECT_THAT(load("[Session]\nping_interval_s = 5\n"),
                ElementsAre("kelp.toml:1: Session: is not a table; did you mean [session]?"));
    EXPECT_THAT(
        load("[agent]\nCacheSize = 5\n"),
        ElementsAre(
            "kelp.toml:2: agent.CacheSize: is not a key of [agent]; did you mean \"Cachesize\"?"));
    EXPECT_THAT(
        load("[session]\nallowed_oss = []\n"),
        ElementsAre(
            "kelp.toml:2: session.allowed_oss: is not a key of [session]; it belongs in [access]"));
    EXPECT_THAT(
        load("ping_mode = true\n"),
        ElementsAre("kelp.toml:1: ping_mode: is outside its table; it belongs in [session]"));
    EXPECT_THAT(load("[quite.something.else]\nx = 1\n"),
                ElementsAre("kelp.toml:1: quite: is not a table"));
    EXPECT_THAT(load("[session.limits]\nx = 1\n"),
                ElementsAre("kelp.toml:1: session.limits: is not a key of [session]"));
}

TEST(ConfigStore, WrongTypesAreProblems) {
    EXPECT_THAT(
        load(R"([session]
ping_interval_s = "60"
ping_mode = 1
[ems]
name = 3
[access]
allowed_oss = "127.0.0.0/8"
[bundles]
load = ["kelp_ems", 3]
[orb]
threads_max = 1.5
)"),
        ElementsAre(
            "kelp.toml:2: session.ping_interval_s: must be an integer from 1 to 86400, but is a "
            "text",
            "kelp.toml:3: session.ping_mode: must be true or false, but is an integer",
            "kelp.toml:5: ems.name: must be a text, but is an integer",
            "kelp.toml:7: access.allowed_oss: must be a list of texts, but is a text",
            "kelp.toml:9: bundles.load: must be a list of texts, but is a list with an integer "
            "in it",
            "kelp.toml:11: orb.threads_max: must be an integer from 0 to 10000, but is a number "
            "with a fraction"));
}

TEST(ConfigStore, TextsOutsideOfTheirChoicesAreProblems) {
    EXPECT_THAT(
        load("[access]\nnms_reference = \"none\"\n[trace]\nsinks = [\"console\", \"printer\"]\n"),
        ElementsAre("kelp.toml:2: access.nms_reference: must be one of \"peer\", \"allowed\", "
                    "\"any\", but is "
                    "\"none\"",
                    "kelp.toml:4: trace.sinks: must be a list out of \"console\", \"file\", "
                    "\"journal\", but "
                    "is a list with \"printer\" in it"));
}

TEST(ConfigStore, ReadingAKeyThatTheSchemaDoesNotHaveIsAProgrammingError) {
    EXPECT_THROW(store().integer("session.nothing"), std::logic_error);
    EXPECT_THROW(store().text("session.ping_interval_s"), std::logic_error);
    EXPECT_THROW(store().flag("ems.name"), std::logic_error);
    EXPECT_THROW(store().texts("ems.name"), std::logic_error);
    EXPECT_THROW(store().integer("agent.Cachesize"), std::logic_error);
}

TEST(ConfigStore, HostileTextInProblemsIsEscaped) {
    EXPECT_THAT(
        load("\"a\\nforged: line\" = 1\n"),
        ElementsAre(testing::AllOf(HasSubstr("a\\nforged"), testing::Not(HasSubstr("\n")))));
}

TEST(ConfigStore, ConfigurationIsReplacedAsAWholeUnderReaders) {
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                const std::string name = store().text("ems.name");
                EXPECT_TRUE(name == "Kelp/EMS" || name == "Acme/North") << name;
                EXPECT_EQ(store().texts("access.allowed_oss").size(), 1u);
                ++reads;
            }
        });
    }
    while (reads < 300) {
        EXPECT_THAT(load("[ems]\nname = \"Acme/North\"\n"), IsEmpty());
        store().reset();
    }
    stop = true;
    for (std::thread& reader : readers)
        reader.join();
}

}  // namespace
