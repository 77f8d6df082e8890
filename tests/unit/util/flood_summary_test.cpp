#include <gtest/gtest.h>
#include <kelp/util/flood_summary.h>

namespace {

using namespace std::chrono_literals;
using Floods = kelp::util::FloodSummary<std::string>;

constexpr unsigned kIndividually = 3;
const Floods::Time kStart{1h};
const Floods::Moment kMoment{1000s};

unsigned single(Floods& floods, const std::string& kind, const std::string& source, unsigned count,
                Floods::Time now = kStart) {
    unsigned alone = 0;
    for (unsigned i = 0; i < count; ++i)
        alone += floods.standsByItself(kind, source, kMoment, now) ? 1 : 0;
    return alone;
}

TEST(FloodSummary, LogsTheFirstIndividuallyAndSummarisesTheOthersAfterThePeriod) {
    Floods floods(kIndividually, 60s, 10);
    EXPECT_EQ(single(floods, "a", "192.0.2.1", kIndividually), kIndividually);
    EXPECT_TRUE(floods.takeAll().empty()) << "nothing was counted";
    Floods others(kIndividually, 60s, 10);
    EXPECT_EQ(single(others, "a", "192.0.2.1", kIndividually + 1), kIndividually);
    EXPECT_TRUE(others.take(kStart + 59s).empty());
    const auto summaries = others.take(kStart + 60s);
    ASSERT_EQ(summaries.size(), 1u);
    EXPECT_EQ(summaries[0].kind, "a");
    EXPECT_EQ(summaries[0].source, "192.0.2.1");
    EXPECT_EQ(summaries[0].count, 1u);
    EXPECT_EQ(summaries[0].first, kMoment);
    EXPECT_EQ(summaries[0].last, kMoment);
    EXPECT_EQ(others.size(), 0u);
}

TEST(FloodSummary, ANewLimitHoldsForTheNextEvent) {
    Floods floods(0, 60s, 10);
    EXPECT_EQ(single(floods, "a", "192.0.2.1", 1), 0u);
    floods.takeAll();
    floods.setIndividually(5);
    EXPECT_EQ(single(floods, "a", "192.0.2.1", 100, kStart + 60s), 5u);
}

TEST(FloodSummary, SourcesBeyondTheLimitShareOneEntryAKindAndMemoryStaysBounded) {
    Floods floods(kIndividually, 60s, 10);
    unsigned alone = 0;
    for (unsigned i = 0; i < 1000; ++i)
        alone += single(floods, "a", std::to_string(i), 1);
    EXPECT_EQ(alone, 10 + kIndividually);
    for (unsigned i = 0; i < 1000; ++i)
        single(floods, "kind " + std::to_string(i), "192.0.2.1", 1);
    EXPECT_LE(floods.size(), 21u);
    std::uint64_t counted = 0;
    for (const Floods::Summary& each : floods.takeAll())
        counted += each.count;
    EXPECT_GE(counted, 1000u - 10 - kIndividually);
}

TEST(FloodSummary, MakesRoomWhenPeriodsAreOver) {
    Floods floods(kIndividually, 60s, 2);
    single(floods, "a", "1", 1);
    single(floods, "a", "2", 1);
    EXPECT_EQ(single(floods, "a", "3", 10, kStart + 60s), kIndividually);
    EXPECT_EQ(floods.takeAll().at(0).source, "3");
}

}  // namespace
