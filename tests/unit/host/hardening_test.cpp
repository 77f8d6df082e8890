// How the host treats files that others can write, and which permissions it gives its files.

#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>

#include "kelpd_fixture.h"
#include "support/child.h"

namespace kelp::test {
namespace {

namespace fs = std::filesystem;

class KelpdHardening : public KelpdTest {
  protected:
    fs::path state() const { return scratch_ / "state"; }
    /// Create a file in the state directory with this mode, and the directory if necessary.
    fs::path stateFile(const std::string& name, mode_t mode) const {
        fs::create_directories(state());
        const fs::path file = state() / name;
        writeFile(file, "");
        EXPECT_EQ(::chmod(file.c_str(), mode), 0);
        return file;
    }
    /// Expect that both a check and a start refuse the configuration with this reason.
    void expectRefused(const fs::path& config, const std::string& why) {
        for (const char* const option : {"--check-config", "--config"}) {
            const std::size_t before = output_.count("kelpd: " + why);
            EXPECT_EQ(run({option, config.string()}), 3) << option;
            EXPECT_EQ(output_.count("kelpd: " + why), before + 1)
                << option << ": " << output_.text();
        }
    }
    /// Return the soft and the hard limit for core dumps of the running host.
    std::pair<std::string, std::string> coreLimits() const {
        std::ifstream limits("/proc/" + std::to_string(process_->pid()) + "/limits");
        const std::string name = "Max core file size";
        std::pair<std::string, std::string> found;
        for (std::string line; std::getline(limits, line);) {
            if (line.starts_with(name))
                std::istringstream(line.substr(name.size())) >> found.first >> found.second;
        }
        return found;
    }
};

TEST_F(KelpdHardening, AConfigurationThatOthersCanWriteIsRefused) {
    const fs::path config = configure();
    ASSERT_EQ(::chmod(config.c_str(), 0666), 0);
    expectRefused(config, config.string() + ": can be written by others (mode 0666)");
}

TEST_F(KelpdHardening, ALinkToAConfigurationIsRefused) {
    fs::create_symlink(configure(), scratch_ / "link.toml");
    expectRefused(scratch_ / "link.toml", (scratch_ / "link.toml").string() +
                                              ": is a symbolic link, which is not followed");
}

TEST_F(KelpdHardening, AStateDirectoryThatOthersCanWriteIsRefused) {
    fs::create_directory(state());
    ASSERT_EQ(::chmod(state().c_str(), 0777), 0);
    expectRefused(configure(), state().string() + ": can be written by others (mode 0777)");
}

TEST_F(KelpdHardening, AFolderAboveThatLetsOthersReplaceTheStateDirectoryIsRefused) {
    ASSERT_EQ(::chmod(scratch_.path().c_str(), 0777), 0);
    EXPECT_EQ(run({"--config", configure().string()}), 3);
    EXPECT_TRUE(output_.contains("lies in " + scratch_.path().string() +
                                 ", which can be written by others (mode 0777)"))
        << output_.text();
}

TEST_F(KelpdHardening, FilesOfTheStateDirectoryThatOthersCanWriteAreRefused) {
    const fs::path config = configure();
    for (const char* const name :
         {"users.db", "oplog.db", "oplog-audit.db", "oplog-audit.db-wal", "inventory.db"}) {
        const fs::path file = stateFile(name, 0606);
        expectRefused(config, file.string() + ": can be written by others (mode 0606)");
        fs::remove(file);
    }
}

TEST_F(KelpdHardening, AConfiguredFileIsRefusedByLineAndKey) {
    fs::create_directory(state());
    writeFile(scratch_ / "other.db", "");
    ASSERT_EQ(::chmod((scratch_ / "other.db").c_str(), 0666), 0);
    const fs::path config =
        configure("[security]\ndatabase = \"" + (scratch_ / "other.db").string() + "\"\n");
    expectRefused(config, config.string() +
                              ":7: security.database: " + (scratch_ / "other.db").string() +
                              " can be written by others (mode 0666)");
}

TEST_F(KelpdHardening, AKeyOfTheSecurityLogThatOthersCanReadIsRefused) {
    const fs::path file = stateFile("audit.key", 0644);
    expectRefused(configure(), file.string() + ": audit key " + file.string() +
                                   " can be read by others (mode 0644)");
}

TEST_F(KelpdHardening, ALinkToADatabaseIsRefusedButOneToTheStateDirectoryIsNot) {
    fs::create_directory(scratch_ / "real");
    fs::permissions(scratch_ / "real", fs::perms::owner_all);
    fs::create_directory_symlink(scratch_ / "real", state());
    const fs::path config = configure();
    start(config);
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 0);
    EXPECT_TRUE(fs::exists(scratch_ / "real" / "oplog.db"));
    fs::rename(scratch_ / "real" / "oplog.db", scratch_ / "real" / "elsewhere.db");
    fs::create_symlink("elsewhere.db", scratch_ / "real" / "oplog.db");
    expectRefused(config,
                  (state() / "oplog.db").string() + ": is a symbolic link, which is not followed");
}

class KelpdUnderUmask : public KelpdHardening, public testing::WithParamInterface<mode_t> {};

TEST_P(KelpdUnderUmask, MakesItsFilesAccessibleToItsOwnerOnly) {
    const fs::path config = configure("[trace]\nsinks = [\"console\", \"file\"]\nfile = \"" +
                                      (state() / "traces" / "kelpd.trace").string() + "\"\n");
    const std::string command = std::string("umask ") + (GetParam() == 0 ? "0" : "0777") +
                                " && exec \"$0\" --config \"$1\"";
    process_ = std::make_unique<ChildProcess>(Launch{
        "/bin/sh", {"-c", command, KELPD, config.string()}, environment_, output_.file(), false});
    ASSERT_TRUE(output_.waitFor("kelpd is ready")) << output_.text();
    // separate threads open the logs
    ASSERT_TRUE(eventually([this] {
        return fs::exists(state() / "oplog-audit.db-wal") && fs::exists(state() / "audit.key") &&
               fs::exists(state() / "oplog.db-wal");
    }));
    EXPECT_EQ(modeOf(state().c_str()), 0700u);
    std::set<std::string> found;
    for (const auto& each : fs::recursive_directory_iterator(state())) {
        found.insert(each.path().filename().string());
        EXPECT_EQ(modeOf(each.path().c_str()), each.is_directory() ? 0700u : 0600u) << each.path();
    }
    EXPECT_THAT(found,
                testing::IsSupersetOf({"admin.lock", "admin.sock", "audit.key", "oplog.db",
                                       "oplog-audit.db", "oplog-audit.db-wal", "kelpd.trace"}));
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 0);
}

INSTANTIATE_TEST_SUITE_P(Each, KelpdUnderUmask, testing::ValuesIn(kExtremeUmasks), nameOfUmask);

TEST_F(KelpdHardening, LeavesNoCoreDumpsUnlessTheyAreConfigured) {
    start(configure());
    EXPECT_THAT(coreLimits().first, testing::AnyOf("0", "1"));
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->waitExit(), 0);
    process_ = std::make_unique<ChildProcess>(
        Launch{KELPD,
               {"--config", configure("[security]\ncore_dumps = true\n").string()},
               environment_,
               output_.file(),
               false});
    ASSERT_TRUE(output_.waitFor("kelpd is ready", 2)) << output_.text();
    EXPECT_EQ(coreLimits().first, coreLimits().second);
}

TEST_F(KelpdHardening, RunningAsRootIsWarnedAboutOnce) {
    start(configure());
    EXPECT_EQ(output_.count("warning: kelpd runs as root"), ::geteuid() == 0 ? 1u : 0u);
}

}  // namespace
}  // namespace kelp::test
