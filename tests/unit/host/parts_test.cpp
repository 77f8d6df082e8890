#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>

#include "harness/eventually.h"
#include "harness/scratch_dir.h"
#include "installation.h"
#include "signal_watch.h"

namespace kelp::host {
namespace {

TEST(Installation, BundlesAreLookedForInTheBuildAndInTheInstallation) {
    const Places places = bundleDirectories("/opt/kelp/bin");
    ASSERT_EQ(places.size(), 2u);
    EXPECT_EQ(places[0], "/opt/kelp/lib/bundles");
    EXPECT_EQ(places[1], std::filesystem::path("/opt/kelp") / KELP_LIBDIR / "kelp" / "bundles");
}

TEST(Installation, CatalogueNextToTheConfigurationComesBeforeTheInstalledOne) {
    const Places places = errorCatalogues("/opt/kelp/bin", "/etc/kelp/kelp.toml");
    EXPECT_EQ(places, (Places{"/etc/kelp/errors.toml", "/opt/kelp/share/kelp/errors.toml"}));
    EXPECT_EQ(errorCatalogues("/opt/kelp/bin", ""), Places{"/opt/kelp/share/kelp/errors.toml"});
}

TEST(Installation, FirstPlaceThatExistsIsTaken) {
    const test::ScratchDir scratch;
    test::writeFile(scratch / "second", "");
    test::writeFile(scratch / "third", "");
    EXPECT_EQ(firstExisting({scratch / "first", scratch / "second", scratch / "third"}),
              scratch / "second");
    EXPECT_EQ(firstExisting({scratch / "first"}), std::filesystem::path());
}

TEST(SignalWatch, ReloadsThatPileUpCountAsOneAndAStopStays) {
    SignalWatch watch([] {});
    ::kill(::getpid(), SIGHUP);
    EXPECT_EQ(watch.next(), SignalWatch::Event::Reload);
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(watch.next(), SignalWatch::Event::Stop);
    EXPECT_EQ(watch.next(), SignalWatch::Event::Stop);
}

TEST(SignalWatch, SecondStopForces) {
    std::atomic<int> forced{0};
    SignalWatch watch([&] { ++forced; });
    ::kill(::getpid(), SIGINT);
    EXPECT_EQ(watch.next(), SignalWatch::Event::Stop);
    EXPECT_EQ(forced, 0);
    ::kill(::getpid(), SIGTERM);
    EXPECT_TRUE(test::eventually([&] { return forced == 1; }));
}

}  // namespace
}  // namespace kelp::host
