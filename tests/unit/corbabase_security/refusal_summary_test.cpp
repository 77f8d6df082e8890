#include "audit/refusal_summary.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using kelp::oplog::SecurityEvent;
using kelp::oplog::SecurityRecord;
using NS_CORBA::RefusalSummary;

constexpr unsigned kSingly = RefusalSummary::kSingly;
const RefusalSummary::Time kStart{1h};

SecurityRecord refusal(const std::string& peer, SecurityEvent event = SecurityEvent::RefusedAddress,
                       const std::string& outcome = "NO_PERMISSION") {
    SecurityRecord record;
    record.time = kelp::oplog::UtcTime{1000s};
    record.event = event;
    record.peer = peer;
    record.outcome = outcome;
    return record;
}

/// Return how many of `count` refusals are logged individually.
unsigned single(RefusalSummary& summary, const SecurityRecord& record, unsigned count,
                RefusalSummary::Time now) {
    unsigned alone = 0;
    for (unsigned i = 0; i < count; ++i)
        alone += summary.standsByItself(record, now) ? 1 : 0;
    return alone;
}

TEST(RefusalSummary, RecordsTheFirstOfAMinuteIndividuallyAndCountsTheRest) {
    RefusalSummary summary;
    EXPECT_EQ(single(summary, refusal("192.0.2.1:1000"), 1000, kStart), kSingly);
    EXPECT_TRUE(summary.take(kStart + 59s).empty());
    const std::vector<SecurityRecord> told = summary.take(kStart + 60s);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].event, SecurityEvent::RefusedAddress);
    EXPECT_EQ(told[0].outcome, "NO_PERMISSION");
    EXPECT_EQ(told[0].peer, "192.0.2.1");
    EXPECT_EQ(told[0].detail,
              std::to_string(1000 - kSingly) + " more until 1970-01-01T00:16:40.000Z");
    EXPECT_TRUE(summary.take(kStart + 120s).empty());
}

TEST(RefusalSummary, ReportsNothingWhenNothingWasCounted) {
    RefusalSummary summary;
    EXPECT_EQ(single(summary, refusal("192.0.2.1:1000"), kSingly, kStart), kSingly);
    EXPECT_TRUE(summary.takeAll().empty());
}

TEST(RefusalSummary, CountsPortsOfOneAddressTogether) {
    RefusalSummary summary;
    unsigned alone = 0;
    for (unsigned port = 1; port <= 100; ++port)
        alone += single(summary, refusal("[2001:db8::1]:" + std::to_string(port)), 1, kStart);
    EXPECT_EQ(alone, kSingly);
    EXPECT_EQ(summary.takeAll().at(0).peer, "[2001:db8::1]");
}

TEST(RefusalSummary, KeepsAddressesKindsAndOutcomesApart) {
    RefusalSummary summary;
    EXPECT_EQ(single(summary, refusal("192.0.2.1:1"), 100, kStart), kSingly);
    EXPECT_EQ(single(summary, refusal("192.0.2.2:1"), 100, kStart), kSingly);
    EXPECT_EQ(single(summary, refusal("192.0.2.1:1", SecurityEvent::LogIn, "wrong password"), 100,
                     kStart),
              kSingly);
    EXPECT_EQ(
        single(summary, refusal("192.0.2.1:1", SecurityEvent::LogIn, "locked out"), 100, kStart),
        kSingly);
    EXPECT_EQ(summary.takeAll().size(), 4u);
}

TEST(RefusalSummary, StartsOverAfterAMinute) {
    RefusalSummary summary;
    EXPECT_EQ(single(summary, refusal("192.0.2.1:1"), kSingly, kStart), kSingly);
    EXPECT_EQ(single(summary, refusal("192.0.2.1:1"), 100, kStart + 60s), kSingly);
    EXPECT_EQ(summary.take(kStart + 120s).size(), 1u);
    EXPECT_EQ(single(summary, refusal("192.0.2.1:1"), 100, kStart + 120s), kSingly);
}

TEST(RefusalSummary, KeepsCountingUntilItIsTaken) {
    RefusalSummary summary;
    single(summary, refusal("192.0.2.1:1"), 30, kStart);
    EXPECT_EQ(single(summary, refusal("192.0.2.1:1"), 5, kStart + 300s), 0u);
    const std::vector<SecurityRecord> told = summary.take(kStart + 300s);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].detail.substr(0, 8), "15 more ");
}

TEST(RefusalSummary, CountsAddressesAboveItsLimitAsOne) {
    RefusalSummary summary(10);
    for (unsigned i = 0; i < 10; ++i)
        EXPECT_EQ(single(summary, refusal("192.0.2." + std::to_string(i) + ":1"), 30, kStart),
                  kSingly);
    unsigned alone = 0;
    for (unsigned i = 10; i < 200; ++i)
        alone += single(summary, refusal("192.0.2." + std::to_string(i) + ":1"), 1, kStart);
    EXPECT_EQ(alone, kSingly);
    std::uint64_t counted = 0;
    bool hasMany = false;
    for (const SecurityRecord& each : summary.takeAll()) {
        counted += std::stoull(each.detail);
        hasMany = hasMany || each.peer == "many addresses";
    }
    EXPECT_TRUE(hasMany);
    EXPECT_EQ(counted, 10u * (30 - kSingly) + 190 - kSingly);
}

TEST(RefusalSummary, MakesRoomForNewAddressesWhenOldMinutesAreOver) {
    RefusalSummary summary(10);
    for (unsigned i = 0; i < 10; ++i)
        single(summary, refusal("192.0.2." + std::to_string(i) + ":1"), 1, kStart);
    EXPECT_EQ(single(summary, refusal("192.0.2.77:1"), 30, kStart + 60s), kSingly);
    EXPECT_EQ(summary.takeAll().at(0).peer, "192.0.2.77");
}

}  // namespace
