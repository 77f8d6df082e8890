#include <gtest/gtest.h>
#include <kelp/alarms/alarm_list.h>

#include "unit/alarms/some_alarms.h"

using namespace kelp::alarms;
using kelp::test::alarmOf;
using kelp::test::History;
using kelp::test::someAlarm;
using kelp::test::someClear;

namespace {

/// Raise and clear until the alarm flaps; it is active then.
void flap(History& history, const Alarm& alarm) {
    for (std::size_t i = 0; i < ListSettings().flapRaises; ++i) {
        history.report(alarm);
        history.report(someClear());
    }
    history.report(alarm);
}

/// One more cycle makes an alarm flap that flap() has not made flapping.
void makeFlapping(History& history, const Alarm& alarm) {
    flap(history, alarm);
    history.report(someClear());
    history.report(alarm);
}

}  // namespace

TEST(AlarmList, RaisedAlarmIsActiveAndUnacknowledged) {
    History history;
    const Effect effect = history.report(someAlarm());
    EXPECT_EQ(effect.outcome, Outcome::Raised);
    const Entry entry = history.entry(someAlarm());
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->alarm.acknowledgeIndication, Acknowledgement::Unacknowledged);
    EXPECT_EQ(entry->notificationId, 1u);
    EXPECT_EQ(entry->raisedAt, history.now);
    ASSERT_TRUE(effect.event);
    EXPECT_EQ(effect.event->position, 1u);
    EXPECT_EQ(effect.event->emsTime, history.now);
    EXPECT_EQ(alarmOf(*effect.event), entry->alarm);
}

TEST(AlarmList, AlarmThatIsReportedAsAcknowledgedIsAcknowledged) {
    History history;
    Alarm alarm = someAlarm();
    alarm.acknowledgeIndication = Acknowledgement::Acknowledged;
    history.report(alarm);
    EXPECT_TRUE(history.entry(alarm)->isAcknowledged());
}

TEST(AlarmList, EachPartOfTheIdentityMakesAnotherAlarm) {
    History history;
    history.report(someAlarm());
    history.report(someAlarm(Severity::Major, "2"));
    history.report(someAlarm(Severity::Major, "1", "LOF"));
    Alarm qualified = someAlarm();
    qualified.probableCauseQualifier = "near";
    history.report(qualified);
    Alarm layered = someAlarm();
    layered.layerRate = 20;
    EXPECT_EQ(history.report(layered).outcome, Outcome::Raised);
    EXPECT_EQ(history.list.state().size(), 5u);
}

TEST(AlarmList, RepeatIsCountedAndNotSent) {
    History history;
    history.report(someAlarm());
    Alarm repeat = someAlarm();
    repeat.neTime = "20240105030405.0Z";
    const Effect effect = history.report(repeat);
    EXPECT_EQ(effect.outcome, Outcome::Repeated);
    EXPECT_FALSE(effect.event);
    const Entry entry = history.entry(repeat);
    EXPECT_EQ(entry->repeats, 1u);
    EXPECT_EQ(entry->notificationId, 1u);
    EXPECT_EQ(entry->alarm.neTime, "") << "the entry equals its last event";
    EXPECT_EQ(entry->reportedAt, history.now);
}

TEST(AlarmList, RepeatLeavesTheAcknowledgementAsItIs) {
    History history;
    history.report(someAlarm());
    history.acknowledge(someAlarm());
    Alarm repeat = someAlarm();
    repeat.acknowledgeIndication = Acknowledgement::Unacknowledged;
    EXPECT_EQ(history.report(repeat).outcome, Outcome::Repeated);
    EXPECT_TRUE(history.entry(repeat)->isAcknowledged());
}

TEST(AlarmList, OtherSeverityIsAChangeAndMakesTheAlarmUnacknowledged) {
    History history;
    history.report(someAlarm());
    history.acknowledge(someAlarm());
    const Effect effect = history.report(someAlarm(Severity::Critical));
    EXPECT_EQ(effect.outcome, Outcome::Changed);
    ASSERT_TRUE(effect.event);
    EXPECT_EQ(alarmOf(*effect.event).acknowledgeIndication, Acknowledgement::Unacknowledged);
    const Entry entry = history.entry(someAlarm());
    EXPECT_EQ(entry->alarm.perceivedSeverity, Severity::Critical);
    EXPECT_EQ(entry->acknowledgedBy, "");
    EXPECT_EQ(entry->acknowledgedAt, 0);
    EXPECT_EQ(entry->notepad, "");
    EXPECT_LT(entry->raisedAt, entry->changedAt);
}

TEST(AlarmList, OtherFieldIsAChangeAndKeepsTheAcknowledgement) {
    History history;
    history.report(someAlarm());
    history.acknowledge(someAlarm());
    Alarm other = someAlarm();
    other.additionalText = "worse";
    const Effect effect = history.report(other);
    EXPECT_EQ(effect.outcome, Outcome::Changed);
    EXPECT_EQ(alarmOf(*effect.event).additionalText, "worse");
    EXPECT_TRUE(history.entry(other)->isAcknowledged());
    EXPECT_EQ(history.entry(other)->acknowledgedBy, "ada");
}

TEST(AlarmList, ClearRemovesTheAlarmAndIsSentWithItsAcknowledgement) {
    History history;
    history.report(someAlarm());
    history.acknowledge(someAlarm());
    const Effect effect = history.report(someClear());
    EXPECT_EQ(effect.outcome, Outcome::Cleared);
    ASSERT_TRUE(effect.event);
    EXPECT_EQ(alarmOf(*effect.event).perceivedSeverity, Severity::Cleared);
    EXPECT_EQ(alarmOf(*effect.event).acknowledgeIndication, Acknowledgement::Acknowledged);
    EXPECT_EQ(history.list.state().size(), 0u);
    EXPECT_FALSE(history.entry(someAlarm()));
    ASSERT_EQ(history.list.state().history().size(), 1u);
    const PastAlarm& past = *history.list.state().history().front();
    EXPECT_EQ(past.last.alarm.perceivedSeverity, Severity::Major);
    EXPECT_EQ(past.notificationId, 3u);
    EXPECT_EQ(past.endedAt, history.now);
}

TEST(AlarmList, ClearOfAnUnknownAlarmDoesNothing) {
    History history;
    const Effect effect = history.report(someClear());
    EXPECT_EQ(effect.outcome, Outcome::NotActive);
    EXPECT_FALSE(effect.event);
    EXPECT_TRUE(history.list.state().history().empty());
}

TEST(AlarmList, AcknowledgingIsAnEventWithUserTimeAndNotepad) {
    History history;
    history.report(someAlarm());
    const Effect effect = history.acknowledge(someAlarm());
    EXPECT_EQ(effect.outcome, Outcome::Acknowledged);
    ASSERT_TRUE(effect.event);
    EXPECT_EQ(effect.event->position, 2u);
    EXPECT_EQ(alarmOf(*effect.event).acknowledgeIndication, Acknowledgement::Acknowledged);
    const Entry entry = history.entry(someAlarm());
    EXPECT_EQ(entry->notificationId, 2u);
    EXPECT_EQ(entry->acknowledgedBy, "ada");
    EXPECT_EQ(entry->acknowledgedAt, history.now);
    EXPECT_EQ(entry->notepad, "on my way");
}

TEST(AlarmList, AcknowledgementCanBeTakenBack) {
    History history;
    history.report(someAlarm());
    history.acknowledge(someAlarm());
    const Effect effect = history.acknowledge(someAlarm(), false);
    EXPECT_EQ(effect.outcome, Outcome::Unacknowledged);
    EXPECT_EQ(alarmOf(*effect.event).acknowledgeIndication, Acknowledgement::Unacknowledged);
}

TEST(AlarmList, AcknowledgingTwiceDoesNothing) {
    History history;
    history.report(someAlarm());
    history.acknowledge(someAlarm());
    const Effect effect = history.acknowledge(someAlarm());
    EXPECT_EQ(effect.outcome, Outcome::AlreadySo);
    EXPECT_FALSE(effect.event);
    EXPECT_EQ(history.entry(someAlarm())->notificationId, 2u);
}

TEST(AlarmList, AcknowledgingAnUnknownAlarmDoesNothing) {
    History history;
    EXPECT_EQ(history.acknowledge(someAlarm()).outcome, Outcome::NotActive);
    EXPECT_TRUE(history.events.empty());
}

TEST(AlarmList, AlarmThatIsNotClearableIsSentAndOnlyInTheHistory) {
    History history;
    Alarm alarm = someAlarm();
    alarm.isClearable = false;
    const Effect effect = history.report(alarm);
    EXPECT_EQ(effect.outcome, Outcome::Passed);
    ASSERT_TRUE(effect.event);
    EXPECT_EQ(alarmOf(*effect.event), alarm);
    EXPECT_EQ(history.list.state().size(), 0u);
    EXPECT_EQ(history.list.state().history().size(), 1u);
}

TEST(AlarmList, AlarmThatIsNotClearableLeavesAnActiveOneAlone) {
    History history;
    history.report(someAlarm());
    Alarm alarm = someAlarm(Severity::Critical);
    alarm.isClearable = false;
    history.report(alarm);
    EXPECT_EQ(history.entry(alarm)->alarm.perceivedSeverity, Severity::Major);
}

TEST(AlarmList, NetworkChangeIsSentOnly) {
    History history;
    const NetworkChange change{
        NetworkChange::Kind::Deletion, {{"EMS", "x"}}, ObjectType::Ems, "", "{}"};
    const Effect effect = history.apply(change);
    EXPECT_EQ(effect.outcome, Outcome::Passed);
    ASSERT_TRUE(effect.event);
    EXPECT_EQ(*std::get<Event::NetworkContent>(effect.event->what), change);
    EXPECT_EQ(history.list.state().position(), 1u);
}

TEST(AlarmList, PositionsMustIncrease) {
    AlarmList list;
    list.apply(5, {0, Report{someAlarm()}});
    EXPECT_THROW(list.apply(5, {0, Report{someAlarm()}}), std::invalid_argument);
    EXPECT_THROW(list.apply(4, {0, Report{someAlarm()}}), std::invalid_argument);
    EXPECT_EQ(list.state().position(), 5u);
}

TEST(AlarmList, AlarmFlapsWhenItIsRaisedAgainTooOften) {
    History history;
    flap(history, someAlarm());
    EXPECT_FALSE(history.entry(someAlarm())->isFlapping);
    history.report(someClear());
    EXPECT_EQ(history.report(someAlarm()).outcome, Outcome::Raised);
    EXPECT_TRUE(history.entry(someAlarm())->isFlapping);
}

TEST(AlarmList, FlappingAlarmStaysAsItWasSent) {
    History history;
    makeFlapping(history, someAlarm());
    const std::size_t sent = history.events.size();
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(history.report(someClear()).outcome, Outcome::Coalesced);
        EXPECT_EQ(history.report(someAlarm(Severity::Critical)).outcome, Outcome::Coalesced);
    }
    EXPECT_EQ(history.events.size(), sent);
    const Entry entry = history.entry(someAlarm());
    EXPECT_EQ(entry->alarm.perceivedSeverity, Severity::Major);
    EXPECT_EQ(entry->repeats, 200u);
    EXPECT_EQ(history.list.state().size(), 1u);
}

TEST(AlarmList, SettleSendsTheClearOfAFlappingAlarm) {
    History history;
    makeFlapping(history, someAlarm());
    history.report(someClear());
    EXPECT_TRUE(history.list.quietFlapping(history.now).empty());
    history.wait(60);
    ASSERT_EQ(history.list.quietFlapping(history.now).size(), 1u);
    const Effect effect = history.settle(someAlarm());
    EXPECT_EQ(effect.outcome, Outcome::Cleared);
    ASSERT_TRUE(effect.event);
    EXPECT_EQ(effect.event->position, history.position);
    EXPECT_EQ(history.list.state().size(), 0u);
    EXPECT_TRUE(history.list.quietFlapping(history.now).empty());
}

TEST(AlarmList, SettleSendsTheLastStateOfAFlappingAlarm) {
    History history;
    makeFlapping(history, someAlarm());
    history.report(someClear());
    history.report(someAlarm(Severity::Warning));
    history.wait(60);
    EXPECT_EQ(history.settle(someAlarm()).outcome, Outcome::Changed);
    const Entry entry = history.entry(someAlarm());
    EXPECT_EQ(entry->alarm.perceivedSeverity, Severity::Warning);
    EXPECT_FALSE(entry->isFlapping);
    EXPECT_FALSE(entry->unsent);
}

TEST(AlarmList, SettleSendsNothingWhenTheListShowsTheLastState) {
    History history;
    makeFlapping(history, someAlarm());
    history.report(someClear());
    history.report(someAlarm());
    history.wait(60);
    const Effect effect = history.settle(someAlarm());
    EXPECT_EQ(effect.outcome, Outcome::AlreadySo);
    EXPECT_FALSE(effect.event);
    EXPECT_FALSE(history.entry(someAlarm())->isFlapping);
}

TEST(AlarmList, SettleBeforeTheAlarmIsQuietDoesNothing) {
    History history;
    makeFlapping(history, someAlarm());
    history.report(someClear());
    EXPECT_EQ(history.settle(someAlarm()).outcome, Outcome::AlreadySo);
    EXPECT_TRUE(history.entry(someAlarm())->isFlapping);
    EXPECT_EQ(history.settle(someAlarm(Severity::Major, "2")).outcome, Outcome::NotActive);
}

TEST(AlarmList, SettledAlarmIsNotFlappingWhenItIsRaisedAgain) {
    History history;
    makeFlapping(history, someAlarm());
    history.report(someClear());
    history.wait(60);
    history.settle(someAlarm());
    history.report(someAlarm());
    EXPECT_FALSE(history.entry(someAlarm())->isFlapping);
}

TEST(AlarmList, SlowRepetitionIsNoFlapping) {
    History history;
    for (int i = 0; i < 50; ++i) {
        history.report(someAlarm());
        history.report(someClear());
        history.wait(30);
    }
    EXPECT_EQ(history.events.size(), 100u);
}

TEST(AlarmList, FlappingAlarmCanBeAcknowledged) {
    History history;
    makeFlapping(history, someAlarm());
    EXPECT_EQ(history.acknowledge(someAlarm()).outcome, Outcome::Acknowledged);
    EXPECT_TRUE(history.entry(someAlarm())->isFlapping);
}

TEST(AlarmList, ClockThatWasSetBackEndsFlapping) {
    History history;
    makeFlapping(history, someAlarm());
    history.now -= 3600 * History::kSecond;
    EXPECT_EQ(history.list.quietFlapping(history.now).size(), 1u);
    history.settle(someAlarm());
    EXPECT_FALSE(history.entry(someAlarm())->isFlapping);
}

TEST(AlarmList, RemembersALimitedNumberOfClears) {
    ListSettings settings;
    settings.recentClearsMax = 3;
    History history(settings);
    for (int round = 0; round < 20; ++round) {
        for (const char* const port : {"1", "2", "3", "4"}) {
            history.report(someAlarm(Severity::Major, port));
            history.report(someClear(port));
            history.now -= 2 * History::kSecond;
        }
    }
    EXPECT_EQ(history.events.size(), 160u) << "a clear that was forgotten counts for no flapping";
}

TEST(AlarmList, HistoryIsBoundedByCount) {
    ListSettings settings;
    settings.historyMax = 2;
    History history(settings);
    for (const char* const port : {"1", "2", "3"}) {
        history.report(someAlarm(Severity::Major, port));
        history.report(someClear(port));
    }
    const auto& past = history.list.state().history();
    ASSERT_EQ(past.size(), 2u);
    EXPECT_EQ(past.front()->last.alarm.nativeEMSName, "2");
}

TEST(AlarmList, HistoryIsBoundedByAge) {
    History history;
    history.report(someAlarm());
    history.report(someClear());
    history.wait(31L * 24 * 3600);
    history.report(someAlarm(Severity::Major, "2"));
    EXPECT_TRUE(history.list.state().history().empty());
}

TEST(AlarmList, SnapshotNeverChanges) {
    History history;
    for (int i = 0; i < 3000; ++i)
        history.report(someAlarm(Severity::Major, std::to_string(i)));
    const auto before = history.list.snapshot();
    const auto same = history.list.snapshot();
    for (int i = 0; i < 3000; i += 2)
        history.report(someClear(std::to_string(i)));
    history.report(someAlarm(Severity::Critical, "1"));
    EXPECT_EQ(*before, *same);
    EXPECT_EQ(before->size(), 3000u);
    EXPECT_EQ(before->read().size(), 3000u);
    EXPECT_EQ(before->history().size(), 0u);
    EXPECT_TRUE(before->find(identityOf(someAlarm())));
    EXPECT_EQ(before->counts()[static_cast<std::size_t>(Severity::Critical)], 0u);
    EXPECT_EQ(history.list.state().size(), 1500u);
    EXPECT_FALSE(*before == history.list.state());
}
