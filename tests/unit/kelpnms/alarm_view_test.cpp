#include "alarms/alarm_view.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>

#include "alarm_samples.h"

namespace kelp::nms {
namespace {

using What = AlarmChange::What;

class AlarmViewTest : public testing::Test {
  protected:
    explicit AlarmViewTest(const AlarmView::Settings& settings = {}) : view_(settings) {}

    AlarmView::ReadEnd read(std::initializer_list<NmsAlarmPtr> list) {
        view_.beginRead();
        for (const NmsAlarmPtr& each : list)
            view_.listed(each);
        return view_.endRead();
    }
    What event(std::uint64_t id, const std::string& port,
               const std::string& severity = "PS_MAJOR") {
        return view_.eventCame(nmsAlarm(id, port, severity)).what;
    }
    What clear(std::uint64_t id, const std::string& port) { return event(id, port, "PS_CLEARED"); }

    /// The notification ids of the alarms, by port.
    std::map<std::string, std::uint64_t> shown() const {
        std::map<std::string, std::uint64_t> all;
        view_.forEach([&](const NmsAlarmPtr& alarm) {
            all.emplace(alarm->id.objectName.back().second, alarm->notificationId);
        });
        return all;
    }
    using Shown = std::map<std::string, std::uint64_t>;

    AlarmView view_;
};

class SmallAlarmView : public AlarmViewTest {
  protected:
    SmallAlarmView() : AlarmViewTest({3, 2}) {}
};

TEST_F(AlarmViewTest, IsUncertainUntilTheListHasBeenRead) {
    EXPECT_TRUE(view_.isUncertain());
    view_.beginRead();
    EXPECT_EQ(view_.listed(nmsAlarm(5, "a")).what, What::Raised);
    EXPECT_TRUE(view_.isUncertain());
    EXPECT_TRUE(view_.endRead().gone.empty());
    EXPECT_FALSE(view_.isUncertain());
    EXPECT_EQ(shown(), (Shown{{"a", 5}}));
    view_.markUncertain();
    EXPECT_TRUE(view_.isUncertain());
    EXPECT_EQ(shown(), (Shown{{"a", 5}})) << "the alarms stay";
}

TEST_F(AlarmViewTest, EventsSayWhatHasChanged) {
    read({});
    EXPECT_EQ(event(1, "a"), What::Raised);
    EXPECT_EQ(event(2, "a", "PS_MINOR"), What::Changed);
    EXPECT_EQ(view_.eventCame(nmsAlarm(3, "a", "PS_MINOR", "AI_EVENT_ACKNOWLEDGED")).what,
              What::Acknowledged);
    EXPECT_EQ(view_.unacknowledged(), 0u);
    EXPECT_EQ(view_.eventCame(nmsAlarm(4, "a", "PS_MINOR")).what, What::Unacknowledged);
    EXPECT_EQ(view_.unacknowledged(), 1u);
    EXPECT_EQ(view_.counts()[static_cast<std::size_t>(alarms::Severity::Minor)], 1u);
    const AlarmChange cleared = view_.eventCame(nmsAlarm(5, "a", "PS_CLEARED"));
    EXPECT_EQ(cleared.what, What::Cleared);
    EXPECT_EQ(cleared.before->notificationId, 4u);
    EXPECT_EQ(view_.size(), 0u);
    EXPECT_EQ(view_.unacknowledged(), 0u);
}

TEST_F(AlarmViewTest, OldAndRepeatedEventsChangeNothing) {
    read({});
    event(10, "a");
    EXPECT_EQ(event(10, "a"), What::Nothing);
    EXPECT_EQ(event(9, "a", "PS_CRITICAL"), What::Nothing);
    EXPECT_EQ(clear(8, "a"), What::Nothing);
    EXPECT_EQ(shown(), (Shown{{"a", 10}}));
    clear(11, "a");
    EXPECT_EQ(event(10, "a"), What::Nothing) << "the clear hides it";
    EXPECT_EQ(event(12, "a"), What::Raised);
}

TEST_F(AlarmViewTest, DifferentLayerRateCauseOrQualifierIsAnotherAlarm) {
    read({});
    for (const char* const field : {"probableCause", "probableCauseQualifier"}) {
        EventRecord other = alarmEvent(20, "a");
        other.fields[field] = "other";
        EXPECT_EQ(view_.eventCame(nmsAlarm(other)).what, What::Raised) << field;
    }
    EventRecord other = alarmEvent(20, "a");
    other.fields["layerRate"] = 21;
    EXPECT_EQ(view_.eventCame(nmsAlarm(other)).what, What::Raised);
    EXPECT_EQ(event(20, "a"), What::Raised);
    EXPECT_EQ(view_.size(), 4u);
}

TEST_F(AlarmViewTest, AlarmsThatAreNotListedGoAwayUnlessTheyAreNewer) {
    read({nmsAlarm(1, "a"), nmsAlarm(2, "b")});
    view_.beginRead();
    event(3, "c");
    view_.listed(nmsAlarm(2, "b"));
    const AlarmView::ReadEnd end = view_.endRead();
    ASSERT_EQ(end.gone.size(), 1u);
    EXPECT_EQ(end.gone[0].what, What::Gone);
    EXPECT_EQ(end.gone[0].before->notificationId, 1u);
    EXPECT_EQ(shown(), (Shown{{"b", 2}, {"c", 3}}));
}

TEST_F(AlarmViewTest, ClearDuringTheReadHidesTheEntryThatComesLater) {
    event(1, "a");
    view_.beginRead();
    clear(3, "a");
    clear(4, "b");
    EXPECT_EQ(view_.listed(nmsAlarm(1, "a")).what, What::Nothing);
    EXPECT_EQ(view_.listed(nmsAlarm(2, "b")).what, What::Nothing);
    EXPECT_FALSE(view_.endRead().readAgain);
    EXPECT_TRUE(shown().empty());
}

TEST_F(AlarmViewTest, LiveStateHidesTheOlderStateInTheList) {
    event(1, "a");
    view_.beginRead();
    event(3, "a", "PS_CRITICAL");
    EXPECT_EQ(view_.listed(nmsAlarm(1, "a")).what, What::Nothing);
    EXPECT_EQ(view_.listed(nmsAlarm(4, "b")).what, What::Raised);
    EXPECT_EQ(event(2, "b"), What::Nothing);
    EXPECT_FALSE(view_.endRead().readAgain);
    EXPECT_EQ(shown(), (Shown{{"a", 3}, {"b", 4}}));
}

TEST_F(AlarmViewTest, EventThatTheReadHasAnsweredDoesNotComeBack) {
    read({});
    event(5, "a");
    clear(6, "a");
    read({});
    EXPECT_EQ(event(5, "a"), What::Nothing);
    view_.reconnecting();
    read({});
    event(5, "a");
    EXPECT_TRUE(shown().empty());
}

TEST_F(AlarmViewTest, AbandonedReadIsForgotten) {
    read({nmsAlarm(1, "a"), nmsAlarm(2, "b")});
    view_.reconnecting();
    view_.beginRead();
    view_.listed(nmsAlarm(1, "a"));
    view_.reconnecting();
    EXPECT_EQ(shown(), (Shown{{"a", 1}, {"b", 2}})) << "nothing goes away without a whole list";
    read({nmsAlarm(2, "b")});
    EXPECT_EQ(shown(), (Shown{{"b", 2}}));
}

TEST_F(AlarmViewTest, AlarmThatIsNotClearablePasses) {
    read({});
    EventRecord message = alarmEvent(7, "a");
    message.fields["isClearable"] = false;
    EXPECT_EQ(view_.eventCame(nmsAlarm(message)).what, What::Passed);
    EXPECT_TRUE(shown().empty());
}

TEST_F(AlarmViewTest, EmsThatBeganItsIdsAnewIsReadFromTheBeginning) {
    read({nmsAlarm(100, "a"), nmsAlarm(200, "b")});
    event(300, "c");
    view_.reconnecting();
    const AlarmView::ReadEnd end = read({nmsAlarm(5, "a"), nmsAlarm(6, "d")});
    EXPECT_TRUE(end.readAgain);
    EXPECT_EQ(end.gone.size(), 4u) << "d comes back with the next read";
    EXPECT_TRUE(view_.isUncertain());
    EXPECT_FALSE(read({nmsAlarm(5, "a"), nmsAlarm(6, "d")}).readAgain);
    EXPECT_FALSE(view_.isUncertain());
    EXPECT_EQ(event(7, "e"), What::Raised);
    EXPECT_EQ(shown(), (Shown{{"a", 5}, {"d", 6}, {"e", 7}}));
}

TEST_F(AlarmViewTest, EmptyListThenLowIdsAreADoubtThatAnotherReadResolves) {
    read({nmsAlarm(100, "a")});
    event(200, "b");
    read({nmsAlarm(100, "a"), nmsAlarm(200, "b")});
    view_.reconnecting();
    EXPECT_FALSE(read({}).readAgain);
    EXPECT_FALSE(view_.wantsRead());
    EXPECT_EQ(event(1, "c"), What::Nothing);
    EXPECT_TRUE(view_.wantsRead());
    EXPECT_TRUE(read({nmsAlarm(1, "c")}).readAgain);
    EXPECT_FALSE(read({nmsAlarm(1, "c")}).readAgain);
    EXPECT_EQ(shown(), (Shown{{"c", 1}}));
}

TEST_F(AlarmViewTest, ReadThatIsAskedForEndsTheWish) {
    read({});
    view_.askForRead();
    EXPECT_TRUE(view_.wantsRead());
    view_.beginRead();
    EXPECT_FALSE(view_.wantsRead());
    view_.askForRead();
    view_.endRead();
    EXPECT_TRUE(view_.wantsRead()) << "asked for during the read";
}

TEST_F(SmallAlarmView, HoldsNoMoreThanItsMaximumAndReadsAgainWhenThereIsRoom) {
    for (int i = 0; i < 2; ++i)
        EXPECT_FALSE(read({nmsAlarm(1, "a"), nmsAlarm(2, "b"), nmsAlarm(3, "c"), nmsAlarm(4, "d")})
                         .readAgain);
    EXPECT_EQ(view_.size(), 3u);
    EXPECT_TRUE(view_.isFull());
    EXPECT_FALSE(view_.wantsRead());
    EXPECT_EQ(event(5, "e"), What::Refused);
    clear(6, "a");
    EXPECT_TRUE(view_.wantsRead());
    EXPECT_FALSE(read({nmsAlarm(2, "b"), nmsAlarm(3, "c"), nmsAlarm(4, "d")}).readAgain)
        << "that an alarm was refused is no sign of an EMS that began anew";
    EXPECT_FALSE(view_.isFull());
    EXPECT_EQ(shown(), (Shown{{"b", 2}, {"c", 3}, {"d", 4}}));
}

TEST_F(SmallAlarmView, TooManyClearsDuringAReadRepeatIt) {
    view_.beginRead();
    clear(11, "a");
    clear(12, "b");
    clear(13, "c");
    view_.listed(nmsAlarm(1, "a"));
    EXPECT_TRUE(view_.endRead().readAgain);
    EXPECT_FALSE(read({}).readAgain);
    EXPECT_TRUE(shown().empty());
    EXPECT_FALSE(view_.isUncertain());
}

TEST(NmsAlarm, GivesItsFieldsBack) {
    EventRecord event = alarmEvent(17, "a");
    event.fields["additionalInfo"] = {{"ticket", "4711"}};
    event.fields["unknown"] = {{"list", {1, 2.5, nullptr}}};
    EXPECT_EQ(nlohmann::json(fieldsOf(*nmsAlarm(event))), nlohmann::json(event.fields));
}

TEST(NmsAlarm, TakesFieldsOfWrongTypesAsTheyAre) {
    EventRecord event = alarmEvent(17, "a");
    event.fields["layerRate"] = "x";
    event.fields["perceivedSeverity"] = 3;
    event.fields["acknowledgeIndication"] = nullptr;
    event.fields["isClearable"] = "no";
    event.fields["additionalText"] = "broken \xff UTF-8";
    const NmsAlarmPtr alarm = nmsAlarm(event);
    EXPECT_EQ(alarm->severity, alarms::Severity::Indeterminate);
    EXPECT_FALSE(alarm->isAcknowledged);
    EXPECT_TRUE(alarm->isClearable);
    EXPECT_EQ(nlohmann::json(fieldsOf(*alarm)), nlohmann::json(event.fields));
}

TEST(NmsAlarm, NeedsAnIdThatGrowsAndAProperName) {
    std::string whyNot;
    for (const char* const id : {"", "0", "-1", "x17", "17x", "18446744073709551616"}) {
        EventRecord event = alarmEvent(1, "a");
        event.fields["notificationId"] = id;
        EXPECT_EQ(alarmOf(event, whyNot), nullptr) << id;
        EXPECT_NE(whyNot.find("is no number above 0"), std::string::npos) << whyNot;
    }
    EventRecord event = alarmEvent(1, "a");
    event.fields["objectName"] = "text";
    EXPECT_EQ(alarmOf(event, whyNot), nullptr);
    EXPECT_EQ(whyNot.find("its objectName "), 0u) << whyNot;
}

TEST(NmsAlarm, IsNoHeartbeat) {
    EventRecord event = alarmEvent(1, "a");
    EXPECT_TRUE(isAlarm(event));
    event.fields["objectType"] = "OT_EMS";
    event.fields["probableCause"] = event.fields["nativeProbableCause"] = "Heartbeat";
    EXPECT_FALSE(isAlarm(event));
    event.type = "NT_TCA";
    EXPECT_FALSE(isAlarm(event));
}

TEST(NmsAlarm, ComesBeforeLessSevereAndOlderOnes) {
    EventRecord older = alarmEvent(9, "a");
    older.fields["emsTime"] = "20261121072959.0Z";
    const NmsAlarmPtr inOrder[] = {nmsAlarm(1, "a", "PS_CRITICAL"),
                                   nmsAlarm(3, "a"),
                                   nmsAlarm(2, "a"),
                                   nmsAlarm(older),
                                   nmsAlarm(4, "a", "PS_MINOR"),
                                   nmsAlarm(5, "a", "PS_INDETERMINATE")};
    for (std::size_t i = 0; i < std::size(inOrder); ++i) {
        for (std::size_t j = 0; j < std::size(inOrder); ++j)
            EXPECT_EQ(comesBefore(*inOrder[i], *inOrder[j]), i < j) << i << " " << j;
    }
}

}  // namespace
}  // namespace kelp::nms
