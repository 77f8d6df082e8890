#include "events/gap_detector.h"

#include <gtest/gtest.h>

#include "event_samples.h"

namespace kelp::nms {
namespace {

using namespace std::chrono_literals;

class GapDetectorTest : public testing::Test {
  protected:
    using Clock = GapDetector::Clock;

    Clock::time_point at(std::chrono::milliseconds time) { return Clock::time_point(1000h) + time; }
    void begin(GapDetector& gaps) {
        gaps.connecting();
        gaps.silenceBegins(at(0ms));
    }
    bool isDuplicate(const EventRecord& event) {
        return gaps_.eventCame(event, at(1s)).isDuplicate;
    }
    std::size_t notices(const EventRecord& event) {
        return gaps_.eventCame(event, at(1s)).notices.size();
    }

    void SetUp() override { begin(gaps_); }
    GapDetector gaps_{std::nullopt};
};

TEST_F(GapDetectorTest, SilenceMeansNothingBeforeTwoHeartbeats) {
    EXPECT_FALSE(gaps_.overdueAt());
    gaps_.eventCame(alarm("1"), at(1s));
    gaps_.eventCame(heartbeat(), at(2s));
    gaps_.eventCame(alarm("2"), at(3s));
    EXPECT_FALSE(gaps_.overdueAt());
}

TEST_F(GapDetectorTest, IntervalIsLearnedFromTheFirstTwoHeartbeats) {
    gaps_.eventCame(heartbeat(), at(10s));
    gaps_.eventCame(heartbeat(), at(70s));
    EXPECT_EQ(gaps_.overdueAt(), at(70s + 90s));
    gaps_.eventCame(heartbeat(), at(75s));
    EXPECT_EQ(gaps_.overdueAt(), at(75s + 90s)) << "one that was asked for changes nothing";
}

TEST_F(GapDetectorTest, HeartbeatsThatComeTogetherTeachNoInterval) {
    gaps_.eventCame(heartbeat(), at(10s));
    gaps_.eventCame(heartbeat(), at(10s + 499ms));
    EXPECT_FALSE(gaps_.overdueAt());
    gaps_.eventCame(heartbeat(), at(14s + 499ms));
    EXPECT_EQ(gaps_.overdueAt(), at(14s + 499ms + 6s));
}

TEST_F(GapDetectorTest, ShortIntervalGetsTwoSecondsOfPatience) {
    gaps_.eventCame(heartbeat(), at(1s));
    gaps_.eventCame(heartbeat(), at(2s));
    EXPECT_EQ(gaps_.overdueAt(), at(2s + 3s));
}

TEST_F(GapDetectorTest, HeartbeatInTheShapeOfAnAlarmIsAHeartbeat) {
    EventRecord shape = alarm("0", "PS_INDETERMINATE");
    shape.fields["objectType"] = "OT_EMS";
    shape.fields["probableCause"] = "Heartbeat";
    shape.fields["nativeProbableCause"] = "Heartbeat";
    gaps_.eventCame(shape, at(1s));
    EXPECT_FALSE(gaps_.eventCame(shape, at(5s)).isDuplicate);
    EXPECT_EQ(gaps_.overdueAt(), at(5s + 6s));
}

TEST_F(GapDetectorTest, GivenIntervalCountsFromTheConnection) {
    GapDetector gaps{10s};
    gaps.connecting();
    EXPECT_FALSE(gaps.overdueAt()) << "not connected yet";
    gaps.silenceBegins(at(0ms));
    EXPECT_EQ(gaps.overdueAt(), at(15s));
    gaps.eventCame(heartbeat(), at(1s));
    gaps.eventCame(heartbeat(), at(2s));
    EXPECT_EQ(gaps.overdueAt(), at(2s + 15s)) << "and is not learned anew";
}

TEST_F(GapDetectorTest, EveryEventIsASignOfLife) {
    GapDetector gaps{10s};
    begin(gaps);
    gaps.eventCame(alarm("1"), at(12s));
    EXPECT_EQ(gaps.overdueAt(), at(27s));
}

TEST_F(GapDetectorTest, StandingStillBeginsTheSilenceAnew) {
    GapDetector gaps{10s};
    begin(gaps);
    gaps.silenceBegins(at(60s));
    EXPECT_EQ(gaps.overdueAt(), at(75s));
}

TEST_F(GapDetectorTest, NewConnectionLearnsItsOwnInterval) {
    gaps_.eventCame(heartbeat(), at(1s));
    gaps_.eventCame(heartbeat(), at(2s));
    begin(gaps_);
    EXPECT_FALSE(gaps_.overdueAt());
    gaps_.eventCame(heartbeat(), at(30s));
    EXPECT_FALSE(gaps_.overdueAt()) << "the one before belongs to another connection";
}

TEST_F(GapDetectorTest, SameIdAndContentIsADuplicate) {
    EXPECT_FALSE(isDuplicate(alarm("1")));
    EXPECT_FALSE(isDuplicate(alarm("2")));
    EXPECT_TRUE(isDuplicate(alarm("1")));
    EXPECT_TRUE(isDuplicate(alarm("1")));
}

TEST_F(GapDetectorTest, AnotherEventUnderAUsedIdIsNoDuplicate) {
    EXPECT_FALSE(isDuplicate(alarm("1", "PS_MAJOR")));
    EXPECT_FALSE(isDuplicate(alarm("1", "PS_CLEARED")));
    EventRecord tca = alarm("1", "PS_CLEARED");
    tca.type = "NT_TCA";
    EXPECT_FALSE(isDuplicate(tca));
}

TEST_F(GapDetectorTest, EventsWithoutAnIdAndHeartbeatsAreNoDuplicates) {
    EXPECT_FALSE(isDuplicate(heartbeat()));
    EXPECT_FALSE(isDuplicate(heartbeat()));
    EXPECT_FALSE(isDuplicate(alarm(" ")));
    EXPECT_FALSE(isDuplicate(alarm(" ")));
    EventRecord nameless = alarm("1");
    nameless.fields.erase("notificationId");
    EXPECT_FALSE(isDuplicate(nameless));
    EXPECT_FALSE(isDuplicate(nameless));
}

TEST_F(GapDetectorTest, NewConnectionKnowsNoDuplicatesOfTheOldOne) {
    EXPECT_FALSE(isDuplicate(alarm("1")));
    begin(gaps_);
    EXPECT_FALSE(isDuplicate(alarm("1")));
}

TEST_F(GapDetectorTest, OldestIdsAreForgotten) {
    SeenEvents seen(2);
    EXPECT_FALSE(seen.isAgain("1", alarm("1")));
    EXPECT_FALSE(seen.isAgain("2", alarm("2")));
    EXPECT_FALSE(seen.isAgain("3", alarm("3")));
    EXPECT_TRUE(seen.isAgain("2", alarm("2")));
    EXPECT_FALSE(seen.isAgain("1", alarm("1")));
}

TEST_F(GapDetectorTest, DecreasedIdIsReported) {
    EXPECT_EQ(notices(alarm("9")), 0u);
    EXPECT_EQ(notices(alarm("10")), 0u) << "numbers, not texts";
    EXPECT_EQ(notices(alarm("500")), 0u) << "ids may be left out";
    const auto told = gaps_.eventCame(alarm("3"), at(1s)).notices;
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].name, "notificationIdWentBack");
    EXPECT_EQ(told[0].details["notificationId"], "3");
    EXPECT_EQ(told[0].details["after"], "500");
    EXPECT_EQ(notices(alarm("4")), 0u) << "told once";
}

TEST_F(GapDetectorTest, DuplicatesHeartbeatsAndTextsDoNotGoBack) {
    EXPECT_EQ(notices(alarm("1")), 0u);
    EXPECT_EQ(notices(alarm("2")), 0u);
    EXPECT_EQ(notices(alarm("1")), 0u) << "a duplicate";
    EXPECT_EQ(notices(heartbeat()), 0u);
    EXPECT_EQ(notices(alarm("1x")), 0u);
    EXPECT_EQ(notices(alarm("99999999999999999999999")), 0u);
    EXPECT_EQ(notices(alarm("3")), 0u);
}

TEST_F(GapDetectorTest, NewConnectionMayRestartItsIds) {
    EXPECT_EQ(notices(alarm("500")), 0u);
    begin(gaps_);
    EXPECT_EQ(notices(alarm("1")), 0u);
}

}  // namespace
}  // namespace kelp::nms
