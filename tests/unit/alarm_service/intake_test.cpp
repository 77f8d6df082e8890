#include <future>
#include <thread>

#include "service_fixture.h"

namespace kelp::test {
namespace {

using namespace std::chrono_literals;
using alarms::IntakeRefused;
using alarms::Outcome;
using alarms::Severity;

using Intake = AlarmServiceTest;

/// Why the submission is refused.
IntakeRefused::Why whyRefused(const std::function<void()>& submit) {
    try {
        submit();
    } catch (const IntakeRefused& refused) {
        return refused.why();
    }
    throw std::logic_error("it is not refused");
}

TEST_F(Intake, AppliesWhatItWrites) {
    start();
    const alarms::Result result = submitOne(raise(1));
    EXPECT_EQ(result.outcome, Outcome::Raised);
    EXPECT_TRUE(result.hasEvent);
    EXPECT_EQ(result.position, log().last());
    EXPECT_EQ(active(), (std::map<std::string, Severity>{{"1", Severity::Major}}));
}

TEST_F(Intake, AnswersEachChangeOfASubmission) {
    start();
    const auto results = service().submit({raise(1), raise(1), clear(1), clear(2)});
    ASSERT_EQ(results.size(), 4u);
    EXPECT_EQ(results[0].outcome, Outcome::Raised);
    EXPECT_EQ(results[1].outcome, Outcome::Repeated);
    EXPECT_EQ(results[2].outcome, Outcome::Cleared);
    EXPECT_EQ(results[3].outcome, Outcome::NotActive);
    EXPECT_FALSE(results[3].hasEvent);
    EXPECT_EQ(results[3].position, results[0].position + 3);
}

TEST_F(Intake, AcceptsAnEmptySubmission) {
    start();
    EXPECT_TRUE(service().submit({}).empty());
}

TEST_F(Intake, RecognisesARepeatedSubmissionByItsKey) {
    start();
    const auto first = service().submit({raise(1), raise(2)}, "post 7");
    submitOne(clear(1));
    const auto again = service().submit({raise(1), raise(2)}, "post 7");
    ASSERT_EQ(again.size(), 2u);
    EXPECT_EQ(again[0].position, first[0].position);
    EXPECT_EQ(again[1].position, first[1].position);
    EXPECT_FALSE(again[0].outcome.has_value());
    EXPECT_EQ(active().size(), 1u);
    EXPECT_EQ(service().counts().known, 2u);
}

TEST_F(Intake, RecognisesARepeatedSubmissionAfterARestart) {
    start();
    submitOne(raise(1), "post 7");
    end();
    start();
    EXPECT_FALSE(submitOne(raise(1), "post 7").outcome.has_value());
}

TEST_F(Intake, RefusesAKeyThatWasUsedWithOtherChanges) {
    start();
    const auto first = service().submit({raise(1), raise(2)}, "post 7");
    for (const std::vector<alarms::Submission>& other :
         std::vector<std::vector<alarms::Submission>>{{raise(1)},
                                                      {raise(1), raise(3)},
                                                      {raise(1), raise(2), raise(3)},
                                                      {raise(1, Severity::Minor), raise(2)}})
        EXPECT_EQ(whyRefused([&] { service().submit(other, "post 7"); }),
                  IntakeRefused::Why::Conflict);
    EXPECT_EQ(active().size(), 2u);
    EXPECT_EQ(log().last(), first[1].position);
    EXPECT_EQ(service().submit({raise(1), raise(2)}, "post 7")[1].position, first[1].position);
}

TEST_F(Intake, RecognisesARepeatThatWaitsTogetherWithTheFirstOne) {
    faults_.beforeAppend = [this] { latch_.pass(); };
    start();
    // the disk is busy with another one while these wait, so that they are written in one step
    auto other = std::async(std::launch::async, [&] { return submitOne(raise(9)); });
    ASSERT_TRUE(waitUntil([&] {
        const auto counts = service().counts();
        return counts.submitted == 1 && counts.backlog == 0;
    }));
    auto first = std::async(std::launch::async, [&] { return submitOne(raise(1), "key"); });
    ASSERT_TRUE(waitUntil([&] { return service().counts().backlog == 1; }));
    auto same = std::async(std::launch::async, [&] { return submitOne(raise(1), "key"); });
    ASSERT_TRUE(waitUntil([&] { return service().counts().backlog == 2; }));
    auto changed = std::async(std::launch::async,
                              [&] { return whyRefused([&] { submitOne(raise(2), "key"); }); });
    ASSERT_TRUE(waitUntil([&] { return service().counts().backlog == 3; }));
    latch_.open();
    EXPECT_EQ(other.get().outcome, Outcome::Raised);
    EXPECT_EQ(first.get().outcome, Outcome::Raised);
    EXPECT_FALSE(same.get().outcome.has_value());
    EXPECT_EQ(changed.get(), IntakeRefused::Why::Conflict);
    EXPECT_EQ(active().size(), 2u);
}

TEST_F(Intake, RefusesWhatIsNotAnAlarm) {
    start();
    alarms::Report nameless = raise(1);
    nameless.alarm.objectName.clear();
    EXPECT_EQ(whyRefused([&] {
                  service().submit({raise(2), nameless});
              }),
              IntakeRefused::Why::Invalid);
    alarms::Report large = raise(1);
    large.alarm.additionalText.assign(2 << 20, 'x');
    EXPECT_EQ(whyRefused([&] { submitOne(large); }), IntakeRefused::Why::Invalid);
    EXPECT_EQ(whyRefused([&] { submitOne(raise(1), std::string(200, 'k')); }),
              IntakeRefused::Why::Invalid);
    const std::vector<alarms::Submission> tooMany(10'001, clear(1));
    EXPECT_EQ(whyRefused([&] { service().submit(tooMany); }), IntakeRefused::Why::Invalid);
    EXPECT_TRUE(active().empty());
    EXPECT_EQ(submitOne(raise(1)).outcome, Outcome::Raised);
}

TEST_F(Intake, RefusesNothingElseWhenItRefusesOneOfABatch) {
    faults_.beforeAppend = [this] { latch_.pass(); };
    start();
    auto first = std::async(std::launch::async, [&] { return submitOne(raise(1)); });
    alarms::Report large = raise(2);
    large.alarm.additionalText.assign(2 << 20, 'x');
    auto refused = std::async(std::launch::async, [&] { return submitOne(large); });
    auto last = std::async(std::launch::async, [&] { return submitOne(raise(3)); });
    latch_.open();
    EXPECT_EQ(first.get().outcome, Outcome::Raised);
    EXPECT_THROW(refused.get(), IntakeRefused);
    EXPECT_EQ(last.get().outcome, Outcome::Raised);
}

TEST_F(Intake, RefusesMoreActiveAlarmsThanTheListMayHold) {
    settings_.activeMax = 3;
    start();
    service().submit({raise(1), raise(2)});
    EXPECT_EQ(whyRefused([&] {
                  service().submit({raise(3), raise(4)});
              }),
              IntakeRefused::Why::Full);
    EXPECT_EQ(active().size(), 2u);
    // changes of those that are active need no room
    EXPECT_EQ(submitOne(raise(1, Severity::Critical)).outcome, Outcome::Changed);
    EXPECT_EQ(submitOne(raise(3)).outcome, Outcome::Raised);
    EXPECT_EQ(whyRefused([&] { submitOne(raise(4)); }), IntakeRefused::Why::Full);
    submitOne(clear(1));
    EXPECT_EQ(submitOne(raise(4)).outcome, Outcome::Raised);
}

TEST_F(Intake, WaitsForRoomAndThenRefuses) {
    faults_.beforeAppend = [this] { latch_.pass(); };
    settings_.backlogMax = 2;
    settings_.patience = 200ms;
    start();
    // the first one is being written and the others fill the backlog
    std::vector<std::future<alarms::Result>> accepted;
    accepted.push_back(std::async(std::launch::async, [&] { return submitOne(raise(0)); }));
    ASSERT_TRUE(waitUntil([&] {
        const auto counts = service().counts();
        return counts.submitted == 1 && counts.backlog == 0;
    }));
    for (int i = 1; i <= 2; ++i)
        accepted.push_back(std::async(std::launch::async, [&, i] { return submitOne(raise(i)); }));
    ASSERT_TRUE(waitUntil([&] { return service().counts().backlog == 2; }));
    EXPECT_EQ(whyRefused([&] { submitOne(raise(9)); }), IntakeRefused::Why::Busy);
    latch_.open();
    for (auto& each : accepted)
        EXPECT_EQ(each.get().outcome, Outcome::Raised);
    EXPECT_EQ(active().size(), 3u);
    EXPECT_EQ(service().counts().refused, 1u);
}

TEST_F(Intake, WaitsForRoomInOctetsAndThenRefuses) {
    faults_.beforeAppend = [this] { latch_.pass(); };
    settings_.backlogBytesMax = 1'000'000;
    settings_.patience = 200ms;
    start();
    const auto large = [](int element) {
        alarms::Report report = raise(element);
        report.alarm.additionalText.assign(400'000, 'x');
        return report;
    };
    std::vector<std::future<alarms::Result>> accepted;
    accepted.push_back(std::async(std::launch::async, [&] { return submitOne(raise(0)); }));
    ASSERT_TRUE(waitUntil([&] {
        const auto counts = service().counts();
        return counts.submitted == 1 && counts.backlog == 0;
    }));
    for (int i = 1; i <= 2; ++i)
        accepted.push_back(std::async(std::launch::async, [&, i] { return submitOne(large(i)); }));
    ASSERT_TRUE(waitUntil([&] { return service().counts().backlog == 2; }));
    EXPECT_EQ(whyRefused([&] { submitOne(large(9)); }), IntakeRefused::Why::Busy);
    accepted.push_back(std::async(std::launch::async, [&] { return submitOne(raise(3)); }));
    ASSERT_TRUE(waitUntil([&] { return service().counts().backlog == 3; }))
        << "a small one has room still";
    latch_.open();
    for (auto& each : accepted)
        EXPECT_EQ(each.get().outcome, Outcome::Raised);
    EXPECT_EQ(active().size(), 4u);
}

TEST_F(Intake, NamesTheFieldOfAnAlarmThatIsTooLong) {
    start();
    const auto before = log().last();
    const auto sentenceOf = [&](const alarms::Submission& wrong) -> std::string {
        try {
            service().submit({raise(1), wrong});
        } catch (const IntakeRefused& refused) {
            EXPECT_EQ(refused.why(), IntakeRefused::Why::Invalid);
            return refused.what();
        }
        return "accepted";
    };
    const std::string begins = " is too long: the ";
    alarms::Report large = raise(2);
    large.alarm.additionalText.assign(alarms::kAlarmBytesMax, 'x');
    EXPECT_EQ(sentenceOf(large).rfind("additionalText" + begins + "alarm has ", 0), 0u);
    large = raise(2);
    large.alarm.affectedTPList.assign(10'000, large.alarm.objectName);
    EXPECT_EQ(sentenceOf(large).rfind("affectedTPList" + begins, 0), 0u);
    const alarms::Acknowledge longNote{alarms::identityOf(alarmOf(1)), true, "ann",
                                       std::string(2 << 20, 'x')};
    EXPECT_EQ(sentenceOf(longNote).rfind("notepad" + begins + "change has ", 0), 0u);
    EXPECT_EQ(log().last(), before) << "nothing was written";
}

TEST_F(Intake, ARecordHasRoomForTheLargestAlarm) {
    start();
    alarms::Report large = raise(2);
    large.alarm.additionalText.assign(alarms::kAlarmBytesMax - alarms::memoryOf(large.alarm),
                                      '\xff');
    EXPECT_EQ(submitOne(large).outcome, Outcome::Raised);
    large.alarm.additionalText.clear();
    large.alarm.monitoredAttributes.emplace();
    for (int i = 0; i < 1000; ++i)
        large.alarm.monitoredAttributes->emplace_back(std::to_string(i), std::string(900, 'x'));
    EXPECT_EQ(submitOne(large).outcome, Outcome::Changed);
    // many small texts
    large.alarm.monitoredAttributes.reset();
    large.alarm.x733AdditionalInfo.assign((alarms::kAlarmBytesMax - 2000) / 88, {{"", ""}});
    EXPECT_EQ(submitOne(large).outcome, Outcome::Changed);
}

TEST_F(Intake, RefusesWhenTheDiskFailsForLong) {
    settings_.patience = 100ms;
    start();
    faults_.appendFails = true;
    EXPECT_EQ(whyRefused([&] { submitOne(raise(1)); }), IntakeRefused::Why::Storage);
    EXPECT_TRUE(active().empty());
    faults_.appendFails = false;
    EXPECT_EQ(submitOne(raise(1)).outcome, Outcome::Raised);
    EXPECT_EQ(log().last(), log().first());
}

TEST_F(Intake, SurvivesADiskThatFailsForAMoment) {
    start();
    faults_.appendFails = true;
    auto submitted = std::async(std::launch::async, [&] { return submitOne(raise(1)); });
    ASSERT_TRUE(waitUntil([&] { return service().counts().submitted == 1; }));
    faults_.appendFails = false;
    EXPECT_EQ(submitted.get().outcome, Outcome::Raised);
}

TEST_F(Intake, RefusesEverythingBeforeItsStartAndAfterItsStop) {
    start();
    service().stop();
    EXPECT_EQ(whyRefused([&] { submitOne(raise(1)); }), IntakeRefused::Why::Stopping);
}

TEST_F(Intake, AnswersAllThatWaitWhenItStops) {
    faults_.beforeAppend = [this] { latch_.pass(); };
    settings_.backlogMax = 2;
    start();
    std::vector<std::future<bool>> all;
    for (int i = 0; i < 6; ++i)
        all.push_back(std::async(std::launch::async, [&, i] {
            try {
                return submitOne(raise(i)).outcome == Outcome::Raised;
            } catch (const IntakeRefused&) {
                return false;
            }
        }));
    ASSERT_TRUE(waitUntil([&] { return service().counts().submitted == 6; }));
    auto stopped = std::async(std::launch::async, [&] { service().stop(); });
    latch_.open();
    stopped.get();
    std::size_t accepted = 0;
    for (auto& each : all)
        accepted += each.get() ? 1 : 0;
    EXPECT_EQ(active().size(), accepted);
    EXPECT_GE(accepted, 1u);
}

}  // namespace
}  // namespace kelp::test
