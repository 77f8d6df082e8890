#include "state/trace_end.h"

#include <gtest/gtest.h>

#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

using state::endOfTrace;

class TraceEnd : public testing::Test {
  protected:
    TemporaryDirectory folder_;
    const std::filesystem::path file_ = folder_ / "kelpd.log";
};

TEST_F(TraceEnd, JoinsTheRotatedFiles) {
    folder_.write("kelpd.2.log", "a\nb\n");
    folder_.write("kelpd.1.log", "c\nd\n");
    folder_.write("kelpd.log", "e\n");
    EXPECT_EQ(endOfTrace(file_, 100), "a\nb\nc\nd\ne\n");
}

TEST_F(TraceEnd, HasWholeLinesWithinItsLimit) {
    folder_.write("kelpd.1.log", "first\nsecond\n");
    folder_.write("kelpd.log", "third\n");
    EXPECT_EQ(endOfTrace(file_, 15), "second\nthird\n");
    EXPECT_EQ(endOfTrace(file_, 6), "third\n");
    EXPECT_EQ(endOfTrace(file_, 3), "");
    EXPECT_EQ(endOfTrace(file_, 0), "");
}

TEST_F(TraceEnd, OfAMissingFileIsEmpty) {
    EXPECT_EQ(endOfTrace(file_, 100), "");
}

TEST_F(TraceEnd, DoesNotFollowLinks) {
    folder_.write("secret", "secret\n");
    std::filesystem::create_symlink(folder_ / "secret", file_);
    EXPECT_THROW(endOfTrace(file_, 100), std::runtime_error);
}

}  // namespace
}  // namespace kelp::test
