#include "kelpctl/pace.h"

#include <gtest/gtest.h>

namespace kelp::ctl {
namespace {

using Duration = Pace::Duration;

TEST(Pace, LetsTheFirstGoAtOnceAndTheOthersEvenly) {
    const Pace pace(10, 100);
    EXPECT_EQ(pace.due(Duration(0)), 1u);
    EXPECT_EQ(pace.due(Duration(0.09)), 1u);
    EXPECT_EQ(pace.due(Duration(0.11)), 2u);
    EXPECT_EQ(pace.due(Duration(5.01)), 51u);
}

TEST(Pace, EndsWithTheCount) {
    const Pace pace(10, 100);
    EXPECT_EQ(pace.due(Duration(9.91)), 100u);
    EXPECT_EQ(pace.due(Duration(1000)), 100u);
}

TEST(Pace, LooksAgainWhenTheNextIsDue) {
    const Pace pace(2, 100);
    EXPECT_EQ(pace.next(1, Duration(0)), Duration(0.5));
    EXPECT_EQ(pace.next(7, Duration(3.1)), Duration(3.5));
}

TEST(Pace, SendsThoseOfATickTogetherAtHighRates) {
    const Pace pace(10000, 100000);
    EXPECT_EQ(pace.next(1, Duration(0)), Pace::kTick);
    const Duration later = pace.next(10001, Duration(1));
    EXPECT_EQ(later, Duration(1) + Pace::kTick);
    EXPECT_NEAR(static_cast<double>(pace.due(later)), 10201, 1);
}

TEST(Pace, CatchesUpAfterADelay) {
    const Pace pace(100, 1000);
    EXPECT_EQ(pace.due(Duration(3.001)), 301u) << "however many have been sent until then";
}

}  // namespace
}  // namespace kelp::ctl
