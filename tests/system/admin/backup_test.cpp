// Backup, restore and support bundle of real hosts.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/admin/restore_marks.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "harness/eventually.h"
#include "harness/host.h"
#include "harness/nms_process.h"

namespace kelp::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int kAlarms = 300;

class BackupOfHost : public testing::Test {
  protected:
    BackupOfHost() {
        for (Host* const each : {&old_, &fresh_}) {
            each->set("notification", "heartbeat_s", 0);
            each->set("trace", "sinks", R"(["file", "console"])");
            each->set("trace", "file", quoted(each->scratch("trace.log").string()));
        }
        old_.addUser("alice");
    }

    static void start(Host& host) {
        host.start();
        ASSERT_TRUE(host.log().waitFor("the operator's interface is at"));
    }
    Launch command(Host& host, std::vector<std::string> arguments, const LogFile& output) {
        arguments.insert(arguments.begin(), {"--config", host.configFile().string()});
        Launch launch = host.launch(KELPCTL, arguments);
        launch.output = output.file();
        return launch;
    }
    /// Run kelpctl, and return what it prints. Expects this exit code.
    std::string kelpctl(Host& host, const std::vector<std::string>& arguments, int code = 0) {
        LogFile output(old_.scratch("output" + std::to_string(++runs_)));
        EXPECT_EQ(runToEnd(command(host, arguments, output)), code) << output.text();
        return output.text();
    }
    /// The number of alarms that a host has.
    int alarms(Host& host) {
        LogFile output(old_.scratch("alarms" + std::to_string(++runs_)));
        Launch launch = command(host, {"alarm", "list", "--json"}, output);
        if (runToEnd(launch) != 0)
            return -1;
        return json::parse(output.text(), nullptr, false).value("matching", -1);
    }
    /// Unpack an archive into a folder with the tools that everybody has.
    fs::path unpacked(const fs::path& archive) {
        const fs::path folder = old_.scratch("unpacked" + std::to_string(++runs_));
        fs::create_directory(folder);
        Launch tar =
            old_.launch("/usr/bin/tar", {"--zstd", "-xf", archive.string(), "-C", folder.string()});
        EXPECT_EQ(runToEnd(tar), 0);
        return folder;
    }

    /// A backup of a host with alarms that has been stopped.
    fs::path backupOfAlarms() {
        start(old_);
        kelpctl(old_, {"storm", "--rate", "1000", "--count", std::to_string(kAlarms)});
        const fs::path archive = old_.scratch("backup.tar.zst");
        kelpctl(old_, {"backup", archive.string()});
        old_.stop();
        return archive;
    }
    /// Restore when no file may exceed a limit. A longer one fails like a full disk, or
    /// ends the program at once. Return the text.
    std::string restoreWithLimit(Host& host, const fs::path& archive, int limitKiB, bool isKilled) {
        LogFile output(old_.scratch("output" + std::to_string(++runs_)));
        Launch launch = command(host, {"restore", archive.string()}, output);
        const std::string whatHappens = isKilled ? "" : "trap '' XFSZ; ";
        launch.arguments.insert(
            launch.arguments.begin(),
            {"-c",
             whatHappens + "ulimit -c 0; ulimit -f " + std::to_string(limitKiB) + "; exec \"$@\"",
             "limited", launch.program.string()});
        launch.program = "/bin/bash";
        EXPECT_NE(runToEnd(launch), 0) << limitKiB;
        return output.text();
    }
    /// The names of all files of a host's state, without the lock files, which stay.
    static std::set<std::string> stateFiles(Host& host) {
        std::set<std::string> names;
        for (const auto& each : fs::recursive_directory_iterator(host.scratch("state")))
            if (!each.path().string().ends_with("lock"))
                names.insert(each.path().string());
        return names;
    }

    Host old_;
    Host fresh_;
    int runs_ = 0;
};

TEST_F(BackupOfHost, UnderLoadIsRestoredIntoAnEmptyState) {
    start(old_);
    kelpctl(old_, {"storm", "--rate", "1000", "--count", std::to_string(kAlarms)});
    NmsProcess nms(old_);
    nms.logIn(0, "alice");
    nms.follow(0);
    nms.startChatter(0, std::chrono::milliseconds(0));
    const LogFile stormOutput(old_.scratch("storm"));
    ChildProcess storm(command(
        old_, {"storm", "--rate", "200", "--count", "100000", "--first", "1001"}, stormOutput));
    ASSERT_TRUE(eventually([&] { return nms.followed(0).events > 0; }));

    // the logs are written a little later
    ASSERT_TRUE(eventually([&] {
        return kelpctl(old_, {"oplog", "--operation", "getEmsSession"}).find("getEmsSession") !=
               std::string::npos;
    }));
    const fs::path archive = old_.scratch("backup.tar.zst");
    kelpctl(old_, {"backup", archive.string()});
    EXPECT_TRUE(storm.isRunning());
    const int alarmsThen = alarms(old_);
    EXPECT_EQ(nms.stopChatter(0).failures, 0);
    storm.kill();
    EXPECT_THAT(kelpctl(old_, {"restore", archive.string()}, 1), HasSubstr("stop the host first"));
    old_.stop();

    // only its configuration is left
    fresh_.addUser("mallory");
    fs::remove_all(fresh_.scratch("state"));
    EXPECT_THAT(kelpctl(fresh_, {"restore", archive.string()}), HasSubstr("restored the state"));
    EXPECT_THAT(kelpctl(fresh_, {"audit", "verify"}), HasSubstr("record(s) checked"));
    start(fresh_);
    NmsProcess again(fresh_);
    EXPECT_EQ(again.tryLogIn(0, "alice", Host::kPassword), "");
    EXPECT_GE(alarms(fresh_), kAlarms);
    EXPECT_LE(alarms(fresh_), alarmsThen);
    EXPECT_THAT(kelpctl(fresh_, {"oplog", "--operation", "getEmsSession"}),
                HasSubstr("getEmsSession"));
    const std::string audit = kelpctl(fresh_, {"audit", "--event", "user"});
    EXPECT_THAT(audit, HasSubstr("add"));
    EXPECT_THAT(audit, HasSubstr("restore of the state of"));
    EXPECT_THAT(kelpctl(fresh_, {"sessions", "--ended"}), HasSubstr("alice"));
    EXPECT_THAT(kelpctl(fresh_, {"audit", "verify"}), HasSubstr("record(s) checked"));
    EXPECT_EQ(fresh_.stop(), 0);
}

TEST_F(BackupOfHost, RestoreOnAFullDiskChangesNothing) {
    const fs::path archive = backupOfAlarms();
    fresh_.addUser("mallory");
    const std::set<std::string> before = stateFiles(fresh_);
    for (const int limitKiB : {1, 8, 24, 40}) {
        EXPECT_THAT(restoreWithLimit(fresh_, archive, limitKiB, false),
                    HasSubstr(std::strerror(EFBIG)));
        EXPECT_EQ(stateFiles(fresh_), before) << limitKiB;
    }
    start(fresh_);
    NmsProcess nms(fresh_);
    EXPECT_EQ(nms.tryLogIn(0, "mallory", Host::kPassword), "");
    EXPECT_EQ(alarms(fresh_), 0);
}

TEST_F(BackupOfHost, RestoreThatIsKilledWhileItUnpacksCanBeMadeAgain) {
    const fs::path archive = backupOfAlarms();
    fresh_.addUser("mallory");
    for (const int limitKiB : {1, 8, 24, 40})
        restoreWithLimit(fresh_, archive, limitKiB, true);
    EXPECT_THAT(kelpctl(fresh_, {"user", "list"}), HasSubstr("mallory"));
    EXPECT_THAT(kelpctl(fresh_, {"restore", archive.string()}), HasSubstr("restored the state"));
    start(fresh_);
    NmsProcess nms(fresh_);
    EXPECT_EQ(nms.tryLogIn(0, "alice", Host::kPassword), "");
    EXPECT_EQ(alarms(fresh_), kAlarms);
}

TEST_F(BackupOfHost, InterruptedRestoreKeepsAHostFromStarting) {
    const fs::path mark = old_.scratch("state") / "kelp" / admin::kRestoreMovesIn;
    writeFile(mark, "");
    constexpr int kConfigurationError = 3;
    EXPECT_EQ(old_.startToFail(), kConfigurationError);
    EXPECT_TRUE(old_.log().waitFor("kelpctl restore --undo"));
}

TEST_F(BackupOfHost, SupportBundleHasNoSecrets) {
    const PortLease adminPort;
    const fs::path communities = old_.scratch("communities");
    writeFile(communities, "plantedcommunity7\n");
    fs::permissions(communities, fs::perms::owner_read | fs::perms::owner_write);
    old_.set("snmp", "communities_file", quoted(communities.string()));
    old_.set("admin", "listen", quoted(adminPort.hostAndPort()));
    start(old_);
    NmsProcess nms(old_);
    nms.logIn(0, "alice");
    const fs::path archive = old_.scratch("support.tar.zst");
    kelpctl(old_, {"support-bundle", archive.string()});
    struct stat status {};
    ASSERT_EQ(::stat(archive.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777u, 0600u);

    std::vector<std::string> secrets = {"plantedcommunity7", Host::kPassword, "$argon2id$"};
    const std::string token = contentOf(old_.scratch("state") / "kelp" / "admin.token");
    secrets.push_back(token.substr(0, token.find('\n')));
    for (const std::string& each : secrets)
        ASSERT_FALSE(each.empty());
    std::string all;
    const fs::path folder = unpacked(archive);
    for (const auto& each : fs::directory_iterator(folder))
        all += contentOf(each.path());
    for (const std::string& each : secrets)
        EXPECT_THAT(all, Not(HasSubstr(each)));
    EXPECT_THAT(contentOf(folder / "sessions.json"), HasSubstr("alice"));
    EXPECT_THAT(contentOf(folder / "status.json"), HasSubstr("summary"));
    EXPECT_THAT(contentOf(folder / "naming.json"), HasSubstr("reference"));
    EXPECT_THAT(contentOf(folder / "configuration.json"), HasSubstr("snmp.communities_file"));
    EXPECT_THAT(contentOf(folder / "trace.log"), HasSubstr("the operator's interface is at"));
    const json machine = json::parse(contentOf(folder / "machine.json"));
    EXPECT_EQ(machine["host"]["process"], old_.process().pid());
    old_.stop();

    const fs::path stopped = old_.scratch("stopped.tar.zst");
    EXPECT_THAT(kelpctl(old_, {"support-bundle", stopped.string()}),
                HasSubstr("left out: version.json: "));
    const fs::path files = unpacked(stopped);
    EXPECT_THAT(contentOf(files / "README.txt"), HasSubstr("does not run"));
    EXPECT_THAT(contentOf(files / "sessions-ended.json"), HasSubstr("alice"));
}

}  // namespace
}  // namespace kelp::test
