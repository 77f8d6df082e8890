#include <gtest/gtest.h>

#include "harness/child_process.h"
#include "harness/log_file.h"
#include "harness/scratch_dir.h"
#include "support/tcp_peers.h"

namespace kelp::test {
namespace {

/// The real kelpnms without any peer.
class KelpnmsCommandLine : public testing::Test {
  protected:
    int run(const std::vector<std::string>& arguments) {
        Launch launch{KELPNMS, arguments, environment_, output_.file(), false};
        launch.environment.try_emplace("KELPNMS_USER", "");
        return runToEnd(launch);
    }

    ScratchDir scratch_;
    LogFile output_{scratch_ / "output"};
    std::map<std::string, std::string> environment_;
};

TEST_F(KelpnmsCommandLine, MissingCommandIsAUsageError) {
    EXPECT_EQ(run({}), 2);
    EXPECT_TRUE(output_.contains("subcommand")) << output_.text();
}

TEST_F(KelpnmsCommandLine, LogInNeedsAUser) {
    EXPECT_EQ(run({"managers"}), 2);
    EXPECT_TRUE(output_.contains("--user")) << output_.text();
}

TEST_F(KelpnmsCommandLine, LogInNeedsAPassword) {
    EXPECT_EQ(run({"--user", "demo", "managers"}), 2);
    EXPECT_TRUE(output_.contains("no password: give --password-file or set KELPNMS_PASSWORD"))
        << output_.text();
}

TEST_F(KelpnmsCommandLine, EmptyPasswordFileIsNamed) {
    writeFile(scratch_ / "password", "");
    EXPECT_EQ(
        run({"--user", "demo", "--password-file", (scratch_ / "password").string(), "managers"}),
        2);
    EXPECT_TRUE(output_.contains((scratch_ / "password").string())) << output_.text();
}

TEST_F(KelpnmsCommandLine, EmptyKeyPasswordFileIsNamed) {
    const std::string key = (scratch_ / "key.pem").string();
    const std::string password = (scratch_ / "key-password").string();
    writeFile(key, "");
    writeFile(password, "");
    EXPECT_EQ(run({"--tls-ca", key, "--tls-key", key, "--tls-key-password-file", password, "find"}),
              2);
    EXPECT_EQ(output_.text(), "kelpnms: no password in the first line of " + password + "\n");
}

TEST_F(KelpnmsCommandLine, InvalidFactoryPathIsAUsageError) {
    EXPECT_EQ(run({"--factory", "a//b", "find"}), 2);
    EXPECT_TRUE(output_.contains("an empty component")) << output_.text();
}

TEST_F(KelpnmsCommandLine, MissingNamingServiceIsNamed) {
    const std::string address = "127.0.0.1:" + std::to_string(freePort());
    EXPECT_EQ(run({"--naming", address, "find"}), 3);
    EXPECT_TRUE(output_.contains("corbaloc:iiop:1.2@" + address + "/NameService does not answer"))
        << output_.text();
    EXPECT_EQ(output_.count("\n"), 1u) << output_.text();
}

TEST_F(KelpnmsCommandLine, NamingServiceThatHangsIsGivenUpAtTheTimeout) {
    const DeafListener deaf;
    EXPECT_EQ(run({"--naming", deaf.hostAndPort(), "--timeout", "0.3", "find"}), 3);
    EXPECT_TRUE(output_.contains("TIMEOUT")) << output_.text();
}

TEST_F(KelpnmsCommandLine, AddressThatCannotBeListenedOnIsNamed) {
    const DeafListener busy;
    environment_["KELPNMS_PASSWORD"] = "x";
    EXPECT_EQ(run({"--user", "demo", "--listen", busy.hostAndPort(), "managers"}), 2);
    EXPECT_TRUE(output_.contains("cannot listen on " + busy.hostAndPort())) << output_.text();
}

TEST_F(KelpnmsCommandLine, FormatsAndBatchesAreChecked) {
    environment_["KELPNMS_PASSWORD"] = "x";
    EXPECT_EQ(run({"--user", "demo", "elements", "--format", "xml"}), 2);
    EXPECT_TRUE(output_.contains("--format")) << output_.text();
    EXPECT_EQ(run({"--user", "demo", "ports", "--batch", "0"}), 2);
    EXPECT_TRUE(output_.contains("--batch")) << output_.text();
    EXPECT_EQ(run({"--user", "demo", "links", "--from", "NE-1"}), 2)
        << "links belong to no element";
    EXPECT_EQ(run({"--user", "demo", "dump", "--format", "csv"}), 2)
        << "a dump has objects of many kinds";
}

TEST_F(KelpnmsCommandLine, HelpDocumentsTheExitCodes) {
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_TRUE(
        output_.containsInOrder({"Examples:", "Exit codes:", "4  the EMS refused the log-in"}));
}

TEST_F(KelpnmsCommandLine, VersionIsPrinted) {
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_EQ(output_.text(), "kelpnms " KELP_VERSION "\n");
}

}  // namespace
}  // namespace kelp::test
