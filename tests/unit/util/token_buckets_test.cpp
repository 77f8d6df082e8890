#include <gtest/gtest.h>
#include <kelp/util/token_buckets.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using kelp::util::TokenBuckets;

constexpr TokenBuckets::Limits kLimits{10, 20};
const TokenBuckets::Time kStart{1h};

unsigned taken(TokenBuckets& buckets, const std::string& source, unsigned count,
               TokenBuckets::Time now, const TokenBuckets::Limits& limits = kLimits) {
    unsigned granted = 0;
    for (unsigned i = 0; i < count; ++i)
        granted += buckets.take(source, now, limits) ? 1 : 0;
    return granted;
}

TEST(TokenBuckets, AllowABurstAndThenTheRate) {
    TokenBuckets buckets;
    EXPECT_EQ(taken(buckets, "a", 20, kStart), 20u);
    EXPECT_EQ(taken(buckets, "a", 1, kStart), 0u);
    EXPECT_EQ(taken(buckets, "a", 10, kStart + 100ms), 1u);
    EXPECT_EQ(taken(buckets, "a", 100, kStart + 1100ms), 10u);
}

TEST(TokenBuckets, FillNoFurtherThanTheBurst) {
    TokenBuckets buckets;
    taken(buckets, "a", 20, kStart);
    EXPECT_EQ(taken(buckets, "a", 100, kStart + 1h), 20u);
}

TEST(TokenBuckets, KeepSourcesApart) {
    TokenBuckets buckets;
    EXPECT_EQ(taken(buckets, "a", 100, kStart), 20u);
    EXPECT_EQ(taken(buckets, "b", 100, kStart), 20u);
}

TEST(TokenBuckets, ATokenGivenBackMayBeTakenAgain) {
    TokenBuckets buckets;
    taken(buckets, "a", 20, kStart);
    buckets.giveBack("a");
    EXPECT_EQ(taken(buckets, "a", 5, kStart), 1u);
    buckets.giveBack("never seen");
    EXPECT_EQ(buckets.sources(), 1u);
}

TEST(TokenBuckets, TokensGivenBackToAFullBucketAreNoMoreThanTheBurst) {
    TokenBuckets buckets;
    taken(buckets, "a", 1, kStart);
    for (int i = 0; i < 50; ++i)
        buckets.giveBack("a");
    EXPECT_EQ(taken(buckets, "a", 100, kStart), 20u);
}

TEST(TokenBuckets, ForgetTheSourceSeenLongestAgoWhenThereIsNoRoom) {
    TokenBuckets buckets(2);
    taken(buckets, "a", 20, kStart);
    taken(buckets, "b", 20, kStart);
    taken(buckets, "a", 1, kStart);
    taken(buckets, "c", 20, kStart);
    EXPECT_EQ(buckets.sources(), 2u);
    EXPECT_EQ(taken(buckets, "a", 1, kStart), 0u) << "a was seen after b";
    EXPECT_EQ(taken(buckets, "b", 1, kStart), 1u) << "b was forgotten";
    for (int i = 0; i < 1000; ++i)
        taken(buckets, std::to_string(i), 1, kStart);
    EXPECT_EQ(buckets.sources(), 2u);
    buckets.clear();
    EXPECT_EQ(buckets.sources(), 0u);
    EXPECT_EQ(taken(buckets, "a", 100, kStart), 20u);
}

TEST(TokenBuckets, FollowANewLimitAndAClockThatGoesBack) {
    TokenBuckets buckets;
    taken(buckets, "a", 20, kStart);
    EXPECT_EQ(taken(buckets, "a", 5, kStart - 10s), 0u);
    EXPECT_EQ(taken(buckets, "a", 100, kStart + 1s, {50, 30}), 30u);
}

TEST(TokenBuckets, GiveManyThreadsNoMoreThanThereAre) {
    TokenBuckets buckets;
    std::atomic<unsigned> granted{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] { granted += taken(buckets, "a", 100, kStart); });
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(granted, 20u);
}

}  // namespace
