#include "kelpd_fixture.h"

namespace kelp::test {
namespace {

using KelpdCommandLine = KelpdTest;

TEST_F(KelpdCommandLine, GoodConfigurationIsReportedAsGood) {
    const auto file = configure();
    EXPECT_EQ(run({"--check-config", file.string()}), 0);
    EXPECT_TRUE(output_.contains(file.string() + ": no problems found"));
}

TEST_F(KelpdCommandLine, CheckTakesTheFileOfTheConfigOption) {
    const auto file = configure();
    EXPECT_EQ(run({"--config", file.string(), "--check-config"}), 0);
    EXPECT_TRUE(output_.contains(file.string() + ": no problems found"));
}

TEST_F(KelpdCommandLine, EachProblemIsNamedWithFileLineAndKey) {
    const auto file = scratch_ / "bad.toml";
    writeFile(file, "[session]\nping_interval_s = 0\nping_intervall_s = 5\n");
    EXPECT_EQ(run({"--check-config", file.string()}), 3);
    EXPECT_TRUE(output_.contains(file.string() + ":2: session.ping_interval_s: "))
        << output_.text();
    EXPECT_TRUE(output_.contains(file.string() + ":3: session.ping_intervall_s: "))
        << output_.text();
}

TEST_F(KelpdCommandLine, ServiceDoesNotStartOnABadConfiguration) {
    const auto file = configure("[session]\nping_interval_s = \"often\"\n");
    EXPECT_EQ(run({"--config", file.string()}), 3);
    EXPECT_TRUE(output_.contains("session.ping_interval_s: ")) << output_.text();
    EXPECT_FALSE(output_.contains("kelpd is ready"));
}

TEST_F(KelpdCommandLine, MissingConfigurationFileIsNamed) {
    const auto file = (scratch_ / "absent.toml").string();
    EXPECT_EQ(run({"--config", file}), 3);
    EXPECT_EQ(run({"--check-config", file}), 3);
    EXPECT_EQ(output_.count(file), 2u) << output_.text();
}

TEST_F(KelpdCommandLine, UnknownOptionIsAUsageError) {
    EXPECT_EQ(run({"--confg", "x"}), 2);
    EXPECT_TRUE(output_.contains("--confg")) << output_.text();
}

TEST_F(KelpdCommandLine, FileForBothOptionsIsAUsageError) {
    const auto file = configure().string();
    EXPECT_EQ(run({"--config", file, "--check-config", file}), 2);
}

TEST_F(KelpdCommandLine, VersionIsPrinted) {
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_EQ(output_.text(), "kelpd " KELP_VERSION "\n");
}

TEST_F(KelpdCommandLine, HelpDocumentsTheExitCodes) {
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_TRUE(
        output_.containsInOrder({"Examples:", "Exit codes:", "3  the configuration cannot be used",
                                 "4  the embedded naming service cannot be started"}));
}

}  // namespace
}  // namespace kelp::test
