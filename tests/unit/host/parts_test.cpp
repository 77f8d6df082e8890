#include "child_process.h"
#include "installation.h"
#include "signal_watch.h"

#include "harness/eventually.h"
#include "harness/scratch_dir.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

namespace kelp::host {
namespace {

TEST(InstallationTest, BundlesAreLookedForInTheBuildAndInTheInstallation) {
    const Places places = bundleDirectories("/opt/kelp/bin");
    ASSERT_EQ(places.size(), 2u);
    EXPECT_EQ(places[0], "/opt/kelp/lib/bundles");
    EXPECT_EQ(places[1], std::filesystem::path("/opt/kelp") / KELP_LIBDIR / "kelp" / "bundles");
}

TEST(InstallationTest, CatalogueBesideTheConfigurationComesBeforeTheInstalledOne) {
    const Places places = errorCatalogues("/opt/kelp/bin", "/etc/kelp/kelp.toml");
    EXPECT_EQ(places, (Places{"/etc/kelp/errors.toml", "/opt/kelp/share/kelp/errors.toml"}));
    EXPECT_EQ(errorCatalogues("/opt/kelp/bin", ""), Places{"/opt/kelp/share/kelp/errors.toml"});
}

TEST(InstallationTest, FirstPlaceThatExistsIsTaken) {
    const test::ScratchDir scratch;
    test::writeFile(scratch / "second", "");
    test::writeFile(scratch / "third", "");
    EXPECT_EQ(firstExisting({scratch / "first", scratch / "second", scratch / "third"}), scratch / "second");
    EXPECT_EQ(firstExisting({scratch / "first"}), std::filesystem::path());
}

TEST(SignalWatchTest, ReloadsThatPileUpCountAsOneAndAStopStays) {
    SignalWatch watch([] {});
    ::kill(::getpid(), SIGHUP);
    EXPECT_EQ(watch.next(), SignalWatch::Event::Reload);
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(watch.next(), SignalWatch::Event::Stop);
    EXPECT_EQ(watch.next(), SignalWatch::Event::Stop);
}

TEST(SignalWatchTest, SecondStopForces) {
    std::atomic<int> forced{0};
    SignalWatch watch([&] { ++forced; });
    ::kill(::getpid(), SIGINT);
    EXPECT_EQ(watch.next(), SignalWatch::Event::Stop);
    EXPECT_EQ(forced, 0);
    ::kill(::getpid(), SIGTERM);
    EXPECT_TRUE(test::eventually([&] { return forced == 1; }));
}

TEST(ChildProcessTest, ProgramThatCannotBeRunIsToldByItsReason) {
    const test::ScratchDir scratch;
    test::writeFile(scratch / "data", "no program");
    std::string whyNot;
    EXPECT_EQ(startChild({scratch / "data", {}, {}, scratch / "log"}, whyNot), -1);
    EXPECT_NE(whyNot.find("Permission denied"), std::string::npos) << whyNot;
}

TEST(ChildProcessTest, ChildHasNoOpenFilesButItsLog) {
    const test::ScratchDir scratch;
    const int leaked = ::dup(STDIN_FILENO);
    std::string whyNot;
    const pid_t child = startChild({"/bin/sh", {"-c", "ls /proc/$$/fd"}, {}, scratch / "log"}, whyNot);
    ASSERT_GT(child, 0) << whyNot;
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ::close(leaked);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(test::contentOf(scratch / "log"), "0\n1\n2\n");
}

TEST(ChildProcessTest, EndIsToldInWords) {
    const test::ScratchDir scratch;
    const auto endOf = [&](const char* commands) {
        std::string whyNot;
        const pid_t child = startChild({"/bin/sh", {"-c", commands}, {}, scratch / "log"}, whyNot);
        int status = 0;
        ::waitpid(child, &status, 0);
        return endInWords(status);
    };
    EXPECT_EQ(endOf("exit 3"), "exit code 3");
    EXPECT_EQ(endOf("kill -9 $$"), "signal 9 (Killed)");
}

}  // namespace
}  // namespace kelp::host
