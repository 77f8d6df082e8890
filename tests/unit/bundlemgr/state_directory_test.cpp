#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>

#include "support/temporary_directory.h"

namespace {

using kelp::test::ScopedEnvironment;
using NS_BUNDLEMGR1::defaultStateDirectory;

TEST(StateDirectory, IsTheOneOfSystemdFirst) {
    const ScopedEnvironment state("STATE_DIRECTORY", "/var/lib/kelp");
    const ScopedEnvironment xdg("XDG_STATE_HOME", "/home/ems/state");
    EXPECT_EQ(defaultStateDirectory(), "/var/lib/kelp");
}

TEST(StateDirectory, FirstOfSeveralOfSystemdIsTaken) {
    const ScopedEnvironment state("STATE_DIRECTORY", "/var/lib/kelp:/var/lib/other");
    EXPECT_EQ(defaultStateDirectory(), "/var/lib/kelp");
}

TEST(StateDirectory, IsInTheUsersStateFolderNext) {
    const ScopedEnvironment state("STATE_DIRECTORY", nullptr);
    const ScopedEnvironment xdg("XDG_STATE_HOME", "/home/ems/state");
    EXPECT_EQ(defaultStateDirectory(), "/home/ems/state/kelp");
}

TEST(StateDirectory, IsBelowTheHomeFolderLast) {
    const ScopedEnvironment state("STATE_DIRECTORY", "");
    const ScopedEnvironment home("HOME", "/home/ems");
    {
        const ScopedEnvironment xdg("XDG_STATE_HOME", nullptr);
        EXPECT_EQ(defaultStateDirectory(), "/home/ems/.local/state/kelp");
    }
    const ScopedEnvironment xdg("XDG_STATE_HOME", "relative/paths/do/not/count");
    EXPECT_EQ(defaultStateDirectory(), "/home/ems/.local/state/kelp");
}

TEST(StateDirectory, WithoutAHomeThePasswordFileDecides) {
    const ScopedEnvironment state("STATE_DIRECTORY", nullptr);
    const ScopedEnvironment xdg("XDG_STATE_HOME", nullptr);
    const ScopedEnvironment home("HOME", nullptr);
    EXPECT_TRUE(defaultStateDirectory().is_absolute());
    EXPECT_TRUE(defaultStateDirectory().string().ends_with("/.local/state/kelp"));
}

}  // namespace
