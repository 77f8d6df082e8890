// The interface of adapters (intake.h).

#include <kelp/alarms/intake.h>

#include <future>

#include "service_fixture.h"

namespace kelp::test {
namespace {

using alarms::IntakeRefused;
using alarms::Outcome;
using alarms::Severity;

class AdapterIntake : public AlarmServiceTest {
  protected:
    ~AdapterIntake() override { alarms::shareService(nullptr); }

    void startShared() {
        start();
        alarms::shareService({&service(), [](alarms::AlarmService*) {}});
    }
    template <class Call>
    IntakeRefused::Why whyNot(Call call) {
        try {
            call();
        } catch (const IntakeRefused& refused) {
            return refused.why();
        }
        throw std::logic_error("it is not refused");
    }

    const alarms::Intake intake_{"line_7"};
};

TEST_F(AdapterIntake, RaisesAndClearsAnAlarm) {
    startShared();
    const alarms::Alarm alarm =
        alarms::newAlarm({{"EMS", "Acme/1"}, {"ManagedElement", "NE-1"}}, "EQPT", Severity::Minor);
    const alarms::Result raised = intake_.raise(alarm);
    EXPECT_EQ(raised.outcome, Outcome::Raised);
    EXPECT_TRUE(raised.hasEvent);
    EXPECT_EQ(raised.position, log().last());
    const auto entries = service().state()->read();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0]->alarm.objectType, alarms::ObjectType::ManagedElement);
    EXPECT_EQ(entries[0]->alarm.nativeEMSName, "NE-1");
    EXPECT_EQ(entries[0]->alarm.nativeProbableCause, "EQPT");
    EXPECT_EQ(intake_.raise(alarm).outcome, Outcome::Repeated);
    EXPECT_EQ(intake_.clear(alarm).outcome, Outcome::Cleared);
    EXPECT_EQ(intake_.clear(alarm).outcome, Outcome::NotActive);
    EXPECT_EQ(service().state()->size(), 0u);
}

TEST_F(AdapterIntake, AcceptsAllReportsOfASubmissionOrNone) {
    startShared();
    alarms::Alarm wrong = alarmOf(2);
    wrong.objectName.clear();
    EXPECT_EQ(whyNot([&] { intake_.submit({alarmOf(1), wrong}); }), IntakeRefused::Why::Invalid);
    EXPECT_EQ(service().state()->size(), 0u);
    EXPECT_EQ(intake_.submit({alarmOf(1), alarmOf(2)}).size(), 2u);
    EXPECT_EQ(service().state()->size(), 2u);
    EXPECT_TRUE(intake_.submit({}).empty());
}

TEST_F(AdapterIntake, RecognisesARepeatedReportByItsKeyAndKeepsAdaptersApart) {
    startShared();
    const alarms::Result first = intake_.raise(alarmOf(1), "7");
    EXPECT_EQ(intake_.clear(alarmOf(1), "8").outcome, Outcome::Cleared);
    const alarms::Result again = intake_.raise(alarmOf(1), "7");
    EXPECT_FALSE(again.outcome.has_value());
    EXPECT_EQ(again.position, first.position);
    EXPECT_EQ(whyNot([&] { intake_.raise(alarmOf(3), "7"); }), IntakeRefused::Why::Conflict);
    EXPECT_EQ(alarms::Intake("line_8").raise(alarmOf(1), "7").outcome, Outcome::Raised);
    EXPECT_EQ(intake_.raise(alarmOf(2), std::string(alarms::kKeyBytesMax, 'k')).outcome,
              Outcome::Raised);
    EXPECT_EQ(
        whyNot([&] { intake_.raise(alarmOf(1), std::string(alarms::kKeyBytesMax + 1, 'k')); }),
        IntakeRefused::Why::Invalid);
}

TEST_F(AdapterIntake, RefusesARaiseThatIsAClear) {
    startShared();
    EXPECT_EQ(whyNot([&] { intake_.raise(alarmOf(1, Severity::Cleared)); }),
              IntakeRefused::Why::Invalid);
}

TEST_F(AdapterIntake, IsNotReadyBeforeThereIsAListAndAfterItsEnd) {
    EXPECT_FALSE(alarms::Intake::isReady());
    EXPECT_EQ(whyNot([&] { intake_.raise(alarmOf(1)); }), IntakeRefused::Why::NotReady);
    startShared();
    EXPECT_TRUE(alarms::Intake::isReady());
    service().stop();
    EXPECT_EQ(whyNot([&] { intake_.raise(alarmOf(1)); }), IntakeRefused::Why::Stopping);
    alarms::shareService(nullptr);
    EXPECT_EQ(whyNot([&] { intake_.raise(alarmOf(1)); }), IntakeRefused::Why::NotReady);
}

TEST_F(AdapterIntake, AnswersEveryCallerWhileTheListStops) {
    startShared();
    std::vector<std::future<std::size_t>> callers;
    callers.reserve(4);
    for (int caller = 0; caller < 4; ++caller)
        callers.push_back(std::async(std::launch::async, [this, caller] {
            std::size_t accepted = 0;
            try {
                for (int element = 0;; ++element, ++accepted)
                    intake_.raise(alarmOf(caller * 100'000 + element));
            } catch (const IntakeRefused& refused) {
                EXPECT_TRUE(refused.isTemporary());
            }
            return accepted;
        }));
    EXPECT_TRUE(waitUntil([&] { return service().state()->size() > 20; }));
    service().stop();
    std::size_t accepted = 0;
    for (auto& each : callers)
        accepted += each.get();
    EXPECT_EQ(service().state()->size(), accepted);
}

TEST_F(AdapterIntake, WantsANameThatSeparatesItsKeys) {
    for (const char* const name : {"", "snmp/1", "Line", "a name"})
        EXPECT_THROW(alarms::Intake{name}, std::invalid_argument) << name;
    EXPECT_THROW(alarms::Intake{std::string(alarms::kAdapterNameBytesMax + 1, 'a')},
                 std::invalid_argument);
}

}  // namespace
}  // namespace kelp::test
