#include "alarms/alarm_follow.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "alarm_samples.h"
#include "alarms/ack_alarms.h"
#include "alarms/alarm_lines.h"
#include "event_samples.h"

namespace kelp::nms {
namespace {

/// A follower whose lines of JSON the test reads.
class AlarmFollowTest : public testing::Test {
  protected:
    std::shared_ptr<AlarmLines> lines(AlarmFilter filter = {}) {
        return std::make_shared<AlarmLines>(
            EventReport::Surroundings{true, false, [] { return 0u; },
                                      [] { return WallTime(std::chrono::seconds(1800000000)); },
                                      [this](const std::string& line) {
                                          told_.push_back(
                                              nlohmann::json::parse(line, nullptr, false));
                                      }},
            std::move(filter));
    }
    /// What the lines were about: the name of the change or of the event.
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const nlohmann::json& line : told_)
            all.push_back(line.contains("change") ? line["change"] : line["event"]);
        return all;
    }
    static bool read(AlarmFollow& follow, const std::vector<EventRecord>& list) {
        follow.beginRead();
        for (const EventRecord& each : list)
            follow.listed(each);
        return follow.endRead();
    }
    using Names = std::vector<std::string>;

    std::vector<nlohmann::json> told_;
};

TEST_F(AlarmFollowTest, TellsEachChangeAndEachRead) {
    AlarmFollow follow({}, lines());
    follow.connecting();
    EXPECT_TRUE(read(follow, {alarmEvent(1, "a"), heartbeat()}));
    follow.connected();
    follow.show(alarmEvent(2, "b", "PS_MINOR"));
    follow.show(alarmEvent(2, "b", "PS_MINOR"));
    follow.show(alarmEvent(3, "b", "PS_MINOR", "AI_EVENT_ACKNOWLEDGED"));
    follow.show(heartbeat());
    EXPECT_EQ(names(), (Names{"new", "resynchronised", "new", "acknowledged"}));
    EXPECT_EQ(told_[1]["alarms"], 1);
    EXPECT_EQ(told_[3]["alarm"],
              nlohmann::json(alarmEvent(3, "b", "PS_MINOR", "AI_EVENT_ACKNOWLEDGED").fields));
}

TEST_F(AlarmFollowTest, MissedClearComesWithTheNextList) {
    AlarmFollow follow({}, lines());
    follow.connecting();
    read(follow, {alarmEvent(1, "a"), alarmEvent(2, "b")});
    follow.lost("gone");
    follow.connecting();
    EXPECT_TRUE(read(follow, {alarmEvent(2, "b")}));
    EXPECT_EQ(names(), (Names{"new", "new", "resynchronised", "connectionLost", "cleared",
                              "resynchronised"}));
    EXPECT_EQ(told_[4]["clearSeen"], false);
    EXPECT_EQ(told_[5]["gone"], 1);
}

TEST_F(AlarmFollowTest, LossOfEventsAsksForAnotherRead) {
    AlarmFollow follow({}, lines());
    read(follow, {});
    EXPECT_FALSE(follow.wantsRead());
    follow.eventLossOccurred("t", "1");
    EXPECT_FALSE(follow.wantsRead()) << "the loss is not over";
    follow.eventLossCleared("t");
    EXPECT_TRUE(follow.wantsRead());
    read(follow, {});
    follow.alarmLossOccurred("t", "1");
    EXPECT_TRUE(follow.wantsRead());
}

TEST_F(AlarmFollowTest, AlarmsThatCannotBeUsedAreNamedButNotWithoutEnd) {
    AlarmFollow follow({}, lines());
    EventRecord event = alarmEvent(1, "a");
    event.fields["notificationId"] = "none";
    for (int i = 0; i < 1000; ++i)
        follow.show(event);
    EXPECT_EQ(told_.size(), 10u);
    EXPECT_EQ(told_[0]["event"], "alarmNotUsable");
}

TEST_F(AlarmFollowTest, TooManyAlarmsAreReportedOnce) {
    AlarmFollow follow({2, 2}, lines());
    read(follow, {});
    for (unsigned i = 1; i <= 10; ++i)
        follow.show(alarmEvent(i, std::to_string(i)));
    EXPECT_EQ(names(), (Names{"resynchronised", "new", "new", "tooManyAlarms"}));
}

TEST_F(AlarmFollowTest, FilterShowsChangesOfWhatItAcceptedBefore) {
    AlarmFilter filter;
    filter.severities = {alarms::Severity::Critical};
    AlarmFollow follow({}, lines(filter));
    follow.show(alarmEvent(1, "a"));
    follow.show(alarmEvent(2, "a", "PS_CRITICAL"));
    follow.show(alarmEvent(3, "a", "PS_MINOR"));
    follow.show(alarmEvent(4, "a", "PS_CLEARED"));
    follow.show(alarmEvent(5, "b", "PS_CRITICAL"));
    follow.show(alarmEvent(6, "b", "PS_CLEARED"));
    EXPECT_EQ(names(), (Names{"changed", "changed", "new", "cleared"}));
}

TEST_F(AlarmFollowTest, SilenceCountsFromTheLastEventOfAnyType) {
    AlarmFollow follow({}, lines());
    follow.connecting();
    follow.connected();
    const auto before = AlarmFollow::Clock::now();
    follow.show(alarmEvent(1, "a"));
    EXPECT_GE(follow.lastSign(), before);
    EXPECT_FALSE(follow.overdueAt()) << "no interval is known";
}

class IdentitiesInFile : public testing::Test {
  protected:
    std::vector<alarms::AlarmId> identities(const std::string& content) {
        const std::string file = testing::TempDir() + "kelpnms_identities_" +
                                 testing::UnitTest::GetInstance()->current_test_info()->name();
        std::ofstream(file) << content;
        try {
            auto found = identitiesIn(file);
            std::remove(file.c_str());
            return found;
        } catch (...) {  // any failure: the file must not stay
            std::remove(file.c_str());
            throw;
        }
    }
};

TEST_F(IdentitiesInFile, AreReadFromAnAlarmAnArrayOrAList) {
    const std::string alarm =
        R"({"objectName": {"PTP": "a"}, "layerRate": 20, "probableCause": "LOS"})";
    const alarms::AlarmId id{{{"PTP", "a"}}, 20, "LOS", ""};
    EXPECT_EQ(identities(alarm), std::vector{id});
    EXPECT_EQ(identities("[" + alarm + "," + alarm + "]"), (std::vector{id, id}));
    EXPECT_EQ(identities("{\"alarms\": [" + alarm + "]}"), std::vector{id});
    EXPECT_TRUE(identities("[]").empty());
}

TEST_F(IdentitiesInFile, AnythingElseIsRefused) {
    for (const char* const content :
         {"", "x", "1", "[1]", "{}", "[{\"objectName\": {}}]",
          "[{\"objectName\": 1, \"probableCause\": \"LOS\"}]", "{\"alarms\": {}}"})
        EXPECT_THROW(identities(content), std::invalid_argument) << content;
    EXPECT_THROW(identitiesIn("/nonexistent/file"), std::invalid_argument);
}

}  // namespace
}  // namespace kelp::nms
