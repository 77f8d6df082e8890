#include <limits>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ChangeLogTruncate : public ChangeLogTest {};

TEST_F(ChangeLogTruncate, RemovesTheRecordsBelowAndTheirKeys) {
    const auto log = open();
    const Position first = appendOne(*log, "a", "k1").position;
    appendOne(*log, "b", "k2");
    appendOne(*log, "c", "k3");
    log->truncateBelow(first + 2);
    EXPECT_EQ(log->first(), first + 2);
    EXPECT_EQ(log->last(), first + 2);
    EXPECT_THAT(contentsOf(*log), ElementsAre("c"));
    EXPECT_EQ(appendOne(*log, "b again", "k2"), (Appended{first + 3, false}));
    EXPECT_TRUE(appendOne(*log, "c again", "k3").isRepeat);
}

TEST_F(ChangeLogTruncate, LastSurvivesTheTruncationOfEverything) {
    Position last = 0;
    {
        const auto log = open();
        last = appendOne(*log, "a").position;
        log->truncateBelow(std::numeric_limits<Position>::max());
        EXPECT_EQ(log->first(), last + 1);
        EXPECT_EQ(log->last(), last);
        EXPECT_THAT(contentsOf(*log), IsEmpty());
    }
    const auto log = open();
    EXPECT_EQ(log->last(), last);
    EXPECT_EQ(appendOne(*log, "b").position, last + 1);
}

TEST_F(ChangeLogTruncate, OfNothingChangesNothing) {
    const auto log = open();
    const Position first = appendOne(*log, "a").position;
    log->truncateBelow(0);
    log->truncateBelow(first);
    EXPECT_THAT(contentsOf(*log), ElementsAre("a"));
}

TEST_F(ChangeLogTruncate, TakesSeveralStepsForManyRecords) {
    const auto log = open();
    const Position first = log->append(std::vector<NewRecord>(5000)).front().position;
    log->truncateBelow(first + 4999);
    EXPECT_EQ(log->first(), first + 4999);
    EXPECT_EQ(contentsOf(*log).size(), 1U);
}

}  // namespace
}  // namespace kelp::test
