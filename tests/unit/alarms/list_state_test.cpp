#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/alarms/list_state.h>

#include "unit/alarms/some_alarms.h"

using namespace kelp::alarms;
using kelp::test::History;
using kelp::test::someAlarm;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ListStateTest : public testing::Test {
  protected:
    ListStateTest() {
        history_.report(someAlarm(Severity::Major, "1", "LOS"));
        history_.report(someAlarm(Severity::Minor, "2", "LOF"));
        Alarm ofElement = someAlarm(Severity::Critical, "x", "EQPT");
        ofElement.objectName.pop_back();
        history_.report(ofElement);
        history_.acknowledge(someAlarm());
    }

    std::vector<std::string> read(const AlarmQuery& query) const {
        std::vector<std::string> causes;
        for (const Entry& entry : history_.list.state().read(query))
            causes.push_back(entry->alarm.probableCause);
        return causes;
    }

    History history_;
};

TEST_F(ListStateTest, ReadsInTheOrderOfTheNotificationIds) {
    EXPECT_THAT(read({}), ElementsAre("LOF", "EQPT", "LOS"));
}

TEST_F(ListStateTest, ReadsAnObjectAloneOrWithWhatItContains) {
    AlarmQuery query;
    query.object = {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-7"}};
    EXPECT_THAT(read(query), ElementsAre("LOF", "EQPT", "LOS"));
    query.withContained = false;
    EXPECT_THAT(read(query), ElementsAre("EQPT"));
    query.object = {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-77"}};
    query.withContained = true;
    EXPECT_THAT(read(query), IsEmpty());
}

TEST_F(ListStateTest, LeavesOutSeveritiesAndProbableCauses) {
    AlarmQuery query;
    query.severitiesExcluded = {Severity::Critical, Severity::Warning};
    EXPECT_THAT(read(query), ElementsAre("LOF", "LOS"));
    query.probableCausesExcluded = {"LOF"};
    EXPECT_THAT(read(query), ElementsAre("LOS"));
}

TEST_F(ListStateTest, ReadsUnacknowledgedAlarmsOnly) {
    AlarmQuery query;
    query.onlyUnacknowledged = true;
    EXPECT_THAT(read(query), ElementsAre("LOF", "EQPT"));
}

TEST_F(ListStateTest, AsksTheConditionOfTheCaller) {
    AlarmQuery query;
    query.also = [](const ActiveAlarm& entry) { return entry.notificationId > 3; };
    EXPECT_THAT(read(query), ElementsAre("LOS"));
}

TEST_F(ListStateTest, CountsBySeverityAndAcknowledgement) {
    const ListState& state = history_.list.state();
    EXPECT_THAT(state.counts(), ElementsAre(0, 1, 1, 1, 0, 0));
    EXPECT_EQ(state.unacknowledged(), 2u);
    history_.report(kelp::test::someClear());
    EXPECT_THAT(state.counts(), ElementsAre(0, 1, 0, 1, 0, 0));
    EXPECT_EQ(state.unacknowledged(), 2u);
}

}  // namespace
