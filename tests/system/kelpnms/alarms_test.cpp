// kelpnms alarms against a real host: the list, its changes, and how it gets back in step.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <fstream>

#include "alarms_fixture.h"

namespace kelp::test {
namespace {

class KelpnmsAlarms : public AlarmsFixture {
  protected:
    bool waitForChange(const std::string& change, std::size_t times = 1) {
        return log_.waitFor("\"change\":\"" + change + "\"", times);
    }
    bool waitForSteps(std::size_t times) {
        return log_.waitFor("\"event\":\"resynchronised\"", times);
    }
    /// The last change of that name.
    Json lastChange(const std::string& change) {
        Json found;
        std::istringstream lines(output());
        for (std::string line; std::getline(lines, line);) {
            const Json json = Json::parse(line, nullptr, false);
            if (json.is_object() && json.value("change", "") == change)
                found = json;
        }
        return found;
    }
};

TEST_F(KelpnmsAlarms, ListHasEveryFieldAndIsSorted) {
    startHost();
    raise("NE-1", "minor", {"--text", "old"});
    raise("NE-2", "critical",
          {"--text", "the fibre is out", "--info", "ticket=17", "--ne-time", "20240105030405.0Z"});
    raise("NE-3", "minor", {"--text", "new"});
    raise("NE-4", "warning");
    clear("NE-4");
    const Json list = activeAlarms();
    EXPECT_EQ(list["complete"], true);
    EXPECT_EQ(list["unacknowledged"], 3);
    EXPECT_EQ(list["counts"]["critical"], 1);
    EXPECT_EQ(list["counts"]["minor"], 2);
    EXPECT_EQ(elementsOf(list), (std::vector<std::string>{"NE-2", "NE-3", "NE-1"}));
    Json alarm = list["alarms"][0];
    EXPECT_GT(std::stoull(alarm["notificationId"].get<std::string>()), 0u);
    EXPECT_FALSE(alarm["emsTime"].get<std::string>().empty());
    alarm.erase("notificationId");
    alarm.erase("emsTime");
    EXPECT_EQ(alarm, Json::parse(R"({
        "objectName": {"EMS": "Acme/North", "ManagedElement": "NE-2"},
        "nativeEMSName": "NE-2",
        "nativeProbableCause": "LOS",
        "objectType": "OT_MANAGED_ELEMENT",
        "objectTypeQualifier": "",
        "neTime": "20240105030405.0Z",
        "isClearable": true,
        "layerRate": 1,
        "probableCause": "LOS",
        "probableCauseQualifier": "",
        "perceivedSeverity": "PS_CRITICAL",
        "serviceAffecting": "SA_UNKNOWN",
        "affectedTPList": [],
        "additionalText": "the fibre is out",
        "additionalInfo": {"ticket": "17"},
        "X.733::EventType": "communicationsAlarm",
        "X.733::SpecificProblems": [],
        "X.733::ProposedRepairActions": [],
        "X.733::AdditionalInfo": [],
        "rcaiIndicator": false,
        "acknowledgeIndication": "AI_EVENT_UNACKNOWLEDGED"})"));
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsAlarms, FiltersSelectFromTheList) {
    startHost();
    raise("NE-1", "minor");
    raise("NE-2", "critical");
    EXPECT_EQ(elementsOf(activeAlarms({"--severity", "minor", "warning"})),
              std::vector<std::string>{"NE-1"});
    EXPECT_EQ(elementsOf(activeAlarms({"--object", "ManagedElement=NE-2"})),
              std::vector<std::string>{"NE-2"});
    EXPECT_EQ(elementsOf(activeAlarms({"--object", "EMS=Acme/North"})).size(), 2u);
    EXPECT_EQ(elementsOf(activeAlarms({"--unacknowledged"})).size(), 2u);
    EXPECT_EQ(run({"alarms", "--object", "NE-2"}), 2);
    EXPECT_EQ(run({"alarms", "--severity", "huge"}), 2);
}

TEST_F(KelpnmsAlarms, TableOfTheListIsForPeople) {
    startHost();
    raise("NE-1", "major", {"--text", "red \033[31m ink"});
    EXPECT_EQ(run({"alarms", "--once"}), 0) << output();
    EXPECT_TRUE(log_.containsInOrder(
        {"SEVERITY", "major", "ManagedElement=NE-1", "LOS", "1 alarm, 1 unacknowledged, 1 major"}))
        << output();
    EXPECT_FALSE(log_.contains("\033")) << output();
}

TEST_F(KelpnmsAlarms, MoreAlarmsThanTheMaximumAreReported) {
    startHost();
    raise("NE-1", "major");
    raise("NE-2", "major");
    EXPECT_EQ(run({"--json", "alarms", "--once", "--alarms-max", "1"}), 8) << output();
    EXPECT_TRUE(log_.contains("\"complete\":false")) << output();
    EXPECT_TRUE(log_.contains("tooManyAlarms")) << output();
}

TEST_F(KelpnmsAlarms, ChangesAreFollowed) {
    startHost();
    raise("NE-1", "major");
    ChildProcess nms(launch({"--json", "alarms", "--batch", "1"}));
    ASSERT_TRUE(waitForSteps(1)) << output();
    EXPECT_EQ(elementOf(lastChange("new")["alarm"]), "NE-1");
    raise("NE-2", "minor");
    ASSERT_TRUE(waitForChange("new", 2)) << output();
    raise("NE-2", "critical");
    ASSERT_TRUE(waitForChange("changed")) << output();
    EXPECT_EQ(lastChange("changed")["alarm"]["perceivedSeverity"], "PS_CRITICAL");
    clear("NE-1");
    ASSERT_TRUE(waitForChange("cleared")) << output();
    EXPECT_EQ(elementOf(lastChange("cleared")["alarm"]), "NE-1");
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_EQ(applied(output()), followedFrom(activeAlarms()));
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsAlarms, ListIsTheSameAgainAfterTheHostWasKilled) {
    startHost();
    for (const char* const element : {"NE-1", "NE-2", "NE-3"})
        raise(element, "major");
    ChildProcess nms(launch({"--json", "--timeout", "5", "alarms"}));
    ASSERT_TRUE(waitForSteps(1)) << output();
    host_.process().kill();
    ASSERT_TRUE(log_.waitFor("\"event\":\"connectionLost\"")) << output();
    host_.start();
    // what happens before it is back comes with the list
    clear("NE-2");
    raise("NE-4", "critical");
    ASSERT_TRUE(waitForSteps(2)) << output();
    raise("NE-5", "minor");
    ASSERT_TRUE(waitForChange("new", 5)) << output();
    EXPECT_EQ(applied(output()), followedFrom(activeAlarms()));
    EXPECT_EQ(applied(output()).size(), 4u);
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

TEST_F(KelpnmsAlarms, ListIsReadAgainWhenALossOfEventsIsOver) {
    const std::string fifo = host_.scratch("loss").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    host_.setEnvironment("KELP_TEST_EVENT_LOSS", fifo).addBundle("event_loss_switch");
    startHost();
    ChildProcess nms(launch({"--json", "alarms"}));
    ASSERT_TRUE(waitForSteps(1)) << output();
    std::ofstream(fifo, std::ios::app) << "occurred 20240105030405.0Z 4711" << std::endl;
    ASSERT_TRUE(log_.waitFor("\"event\":\"eventLossOccurred\"")) << output();
    std::ofstream(fifo, std::ios::app) << "cleared 20240105030500.0Z" << std::endl;
    EXPECT_TRUE(waitForSteps(2)) << output();
    EXPECT_EQ(log_.count("connectionLost"), 0u) << "the session has not ended";
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

TEST_F(KelpnmsAlarms, EmsWithoutAListIsReported) {
    host_.set("managers", "offered", R"(["ManagedElement"])");
    startHost();
    EXPECT_EQ(run({"alarms", "--once"}), 7) << output();
    EXPECT_TRUE(log_.contains("the EMS has no manager EMS")) << output();
    EXPECT_TRUE(allSessionsGone());
}

}  // namespace
}  // namespace kelp::test
