#include <gtest/gtest.h>
#include <kelp/util/core_dumps.h>
#include <sys/resource.h>

#include <csignal>

#include "support/child.h"
#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

rlim_t softLimit() {
    rlimit limit{};
    EXPECT_EQ(::getrlimit(RLIMIT_CORE, &limit), 0);
    return limit.rlim_cur;
}

rlim_t hardLimit() {
    rlimit limit{};
    EXPECT_EQ(::getrlimit(RLIMIT_CORE, &limit), 0);
    return limit.rlim_max;
}

TEST(CoreDumps, AreForbiddenAndAllowedAgain) {
    const rlim_t hard = hardLimit();
    util::setCoreDumps(true);
    EXPECT_EQ(softLimit(), hard);
    util::setCoreDumps(false);
    EXPECT_LE(softLimit(), 1u);
    EXPECT_EQ(hardLimit(), hard);
    util::setCoreDumps(true);
    EXPECT_EQ(softLimit(), hard);
}

TEST(CoreDumps, DoNotHappenWhenForbidden) {
    const TemporaryDirectory folder;
    const pid_t child = ::fork();
    if (child == 0) {
        (void)!::chdir(folder.path().c_str());
        util::setCoreDumps(true);
        util::setCoreDumps(false);
        ::signal(SIGABRT, SIG_DFL);
        ::raise(SIGABRT);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_FALSE(WCOREDUMP(status));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
}  // namespace kelp::test
