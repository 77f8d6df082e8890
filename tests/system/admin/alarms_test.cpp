// Alarms end to end: the operator's tool, the host, its channel, and an NMS in another process.

#include <signal.h>

#include <sstream>

#include "system/kelpnms/kelpnms_fixture.h"

namespace kelp::test {
namespace {

class Alarms : public KelpnmsTest {
  protected:
    void SetUp() override {
        host_.set("notification", "heartbeat_s", 0).set("ems", "name", quoted("Acme/North"));
        startHost();
    }

    /// Start an NMS that follows the events and ends after `count` of them.
    ChildProcess follow(int count) {
        ChildProcess nms(
            launch({"--verbose", "--json", "events", "--count", std::to_string(count)}));
        EXPECT_TRUE(log_.waitFor("connected to the event channel")) << output();
        return nms;
    }
    /// Return the events that it has shown.
    std::vector<Json> events() {
        std::vector<Json> all;
        std::istringstream lines(output());
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with('{'))
                all.push_back(Json::parse(line, nullptr, false));
        }
        return all;
    }

    /// Run kelpctl against the host. Return its exit code.
    int kelpctl(const std::vector<std::string>& arguments) {
        return runToEnd(kelpctlLaunch(arguments));
    }
    Launch kelpctlLaunch(const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"--config", host_.configFile().string()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        Launch launch = host_.launch(KELPCTL, all);
        launch.output = ctlLog_.file();
        return launch;
    }

    LogFile ctlLog_{scratch_ / "kelpctl"};
};

TEST_F(Alarms, RaisedAlarmReachesTheNmsFieldByFieldAndSoDoesItsClear) {
    ChildProcess nms = follow(2);
    const std::vector<std::string> identity = {"--object",
                                               "ManagedElement=NE-1",
                                               "PTP=/shelf=1/port=2",
                                               "--probable-cause",
                                               "LOS",
                                               "--layer-rate",
                                               "20"};
    std::vector<std::string> raise = {
        "alarm",  "raise",    "--severity",       "major",     "--service-affecting",
        "yes",    "--text",   "the fibre is out", "--ne-time", "20240105030405.0Z",
        "--info", "ticket=17"};
    raise.insert(raise.end(), identity.begin(), identity.end());
    EXPECT_EQ(kelpctl(raise), 0) << ctlLog_.text();
    std::vector<std::string> clear = {"alarm", "clear"};
    clear.insert(clear.end(), identity.begin(), identity.end());
    EXPECT_EQ(kelpctl(clear), 0) << ctlLog_.text();
    ASSERT_EQ(nms.waitExit(), 0) << output();

    const std::vector<Json> shown = events();
    ASSERT_EQ(shown.size(), 2u) << output();
    EXPECT_EQ(shown[0]["type"], "NT_ALARM");
    Json raised = shown[0]["fields"];
    const auto id = std::stoull(raised["notificationId"].get<std::string>());
    EXPECT_TRUE(ctlLog_.contains("alarm raised, notification id " + std::to_string(id)))
        << ctlLog_.text();
    const std::string emsTime = raised["emsTime"];
    EXPECT_EQ(emsTime.size(), std::string("20240105030405.0Z").size()) << emsTime;
    raised.erase("notificationId");
    raised.erase("emsTime");
    EXPECT_EQ(raised, Json::parse(R"({
        "objectName": {"EMS": "Acme/North", "ManagedElement": "NE-1", "PTP": "/shelf=1/port=2"},
        "nativeEMSName": "/shelf=1/port=2",
        "nativeProbableCause": "LOS",
        "objectType": "OT_PHYSICAL_TERMINATION_POINT",
        "objectTypeQualifier": "",
        "neTime": "20240105030405.0Z",
        "isClearable": true,
        "layerRate": 20,
        "probableCause": "LOS",
        "probableCauseQualifier": "",
        "perceivedSeverity": "PS_MAJOR",
        "serviceAffecting": "SA_SERVICE_AFFECTING",
        "affectedTPList": [],
        "additionalText": "the fibre is out",
        "additionalInfo": {"ticket": "17"},
        "X.733::EventType": "communicationsAlarm",
        "X.733::SpecificProblems": [],
        "X.733::ProposedRepairActions": [],
        "X.733::AdditionalInfo": [],
        "rcaiIndicator": false,
        "acknowledgeIndication": "AI_EVENT_UNACKNOWLEDGED"})"));

    const Json cleared = shown[1]["fields"];
    EXPECT_EQ(cleared["perceivedSeverity"], "PS_CLEARED");
    EXPECT_EQ(cleared["isClearable"], true);
    for (const char* const key :
         {"objectName", "layerRate", "probableCause", "probableCauseQualifier"})
        EXPECT_EQ(cleared[key], raised[key]) << key;
    EXPECT_GT(std::stoull(cleared["notificationId"].get<std::string>()), id);
}

TEST_F(Alarms, WrongAlarmIsRefusedByTheHostAndReachesNobody) {
    ChildProcess nms = follow(1);
    EXPECT_EQ(kelpctl({"alarm", "raise", "--object", "Oven=1", "--severity", "major",
                       "--probable-cause", "LOS"}),
              1);
    EXPECT_TRUE(ctlLog_.contains("kelpctl: objectType is missing")) << ctlLog_.text();
    EXPECT_EQ(kelpctl({"alarm", "raise", "--object", "ManagedElement=1", "--severity", "major",
                       "--probable-cause", "LOS", "--text", "right"}),
              0);
    EXPECT_EQ(nms.waitExit(), 0) << output();
    ASSERT_EQ(events().size(), 1u);
    EXPECT_EQ(events()[0]["fields"]["additionalText"], "right");
}

TEST_F(Alarms, OperatorSeesTheActiveListAsTheNmsSeesTheEvents) {
    ChildProcess nms = follow(3);
    const auto report = [&](const char* command, const std::string& element,
                            const std::string& severity) {
        std::vector<std::string> arguments = {
            "alarm", command, "--object", "ManagedElement=" + element, "--probable-cause", "LOS"};
        if (!severity.empty())
            arguments.insert(arguments.end(), {"--severity", severity});
        EXPECT_EQ(kelpctl(arguments), 0) << ctlLog_.text();
    };
    report("raise", "NE-1", "major");
    report("raise", "NE-2", "critical");
    report("raise", "NE-1", "minor");
    ASSERT_EQ(nms.waitExit(), 0) << output();
    const auto shown = [&](std::vector<std::string> arguments) {
        ctlLog_ = LogFile(scratch_ / ("list" + std::to_string(++runs_)));
        arguments.insert(arguments.begin(), "alarm");
        arguments.emplace_back("--json");
        EXPECT_EQ(kelpctl(arguments), 0) << ctlLog_.text();
        return Json::parse(ctlLog_.text(), nullptr, false);
    };
    const Json list = shown({"list"});
    ASSERT_EQ(list["alarms"].size(), 2u) << list;
    const std::vector<Json> sent = events();
    // the first event has been replaced by the third one
    for (std::size_t i = 0; i < 2; ++i) {
        for (const auto& [key, value] : sent.at(i + 1)["fields"].items())
            EXPECT_EQ(list["alarms"][i][key], value) << key;
    }
    EXPECT_EQ(list["position"], list["alarms"][1]["notificationId"]);
    EXPECT_EQ(shown({"list", "--severity", "critical"})["alarms"],
              Json::array({list["alarms"][0]}));
    EXPECT_EQ(shown({"list", "--object", "ManagedElement=NE-1"})["alarms"],
              Json::array({list["alarms"][1]}));
    EXPECT_EQ(shown({"list", "--limit", "1"})["alarms"], Json::array({list["alarms"][0]}));
    EXPECT_EQ(shown({"show", list["alarms"][0]["notificationId"]})["alarm"], list["alarms"][0]);

    const std::string id = list["alarms"][0]["notificationId"];
    EXPECT_EQ(kelpctl({"alarm", "ack", id, "--user", "ada", "--note", "on my way"}), 0);
    Json acknowledged = shown({"list", "--acknowledged"})["alarms"];
    ASSERT_EQ(acknowledged.size(), 1u) << acknowledged;
    EXPECT_EQ(acknowledged[0]["objectName"], list["alarms"][0]["objectName"]);
    EXPECT_EQ(acknowledged[0]["acknowledgedBy"], "ada");
    EXPECT_EQ(kelpctl({"alarm", "ack", id}), 1) << "the acknowledgement is a later event";
    EXPECT_EQ(
        kelpctl({"alarm", "unack", "--object", "ManagedElement=NE-2", "--probable-cause", "LOS"}),
        0);
    EXPECT_TRUE(shown({"list", "--acknowledged"})["alarms"].empty());

    report("clear", "NE-1", "");
    EXPECT_EQ(shown({"list"})["matching"], 1);
    const Json history = shown({"history"});
    ASSERT_EQ(history["alarms"].size(), 1u) << history;
    EXPECT_EQ(history["alarms"][0]["notificationId"], list["alarms"][1]["notificationId"]);
    EXPECT_EQ(history["alarms"][0]["endNotificationId"], history["position"]);
}

TEST_F(Alarms, StormArrivesCompletelyAndInOrder) {
    constexpr int kCount = 600;
    ChildProcess nms = follow(kCount);
    EXPECT_EQ(kelpctl({"storm", "--rate", "1000", "--count", std::to_string(kCount)}), 0);
    EXPECT_TRUE(ctlLog_.contains("600 of 600 alarms accepted")) << ctlLog_.text();
    ASSERT_EQ(nms.waitExit(), 0);
    const std::vector<Json> shown = events();
    ASSERT_EQ(shown.size(), static_cast<std::size_t>(kCount));
    const auto first = std::stoull(shown[0]["fields"]["notificationId"].get<std::string>());
    for (unsigned i = 0; i < kCount; ++i) {
        EXPECT_EQ(shown[i]["fields"]["probableCauseQualifier"], std::to_string(i + 1));
        EXPECT_EQ(shown[i]["fields"]["notificationId"], std::to_string(first + i));
    }
}

TEST_F(Alarms, OperatorSeesWhatBecameOfTheEvents) {
    EXPECT_EQ(kelpctl({"consumers"}), 0);
    EXPECT_TRUE(ctlLog_.contains("sent    delivered         lost")) << ctlLog_.text();
    EXPECT_EQ(ctlLog_.count("\n"), 1u) << "nobody is connected: " << ctlLog_.text();
    ChildProcess nms = follow(3);
    EXPECT_EQ(kelpctl({"storm", "--rate", "1000", "--count", "2"}), 0);
    EXPECT_TRUE(eventually([&] {
        ctlLog_ = LogFile(scratch_ / ("consumers" + std::to_string(++runs_)));
        return kelpctl({"consumers"}) == 0 &&
               ctlLog_.contains(" 2            2            0          0 ");
    })) << ctlLog_.text();
    EXPECT_TRUE(ctlLog_.contains(" s  answers")) << ctlLog_.text();
}

TEST_F(Alarms, OperatorSeesWhetherTheLogsAreWritten) {
    ChildProcess nms = follow(1);
    Json health;
    // Wait until the log-in and the consumer's calls are in their logs. Records are written in
    // batches.
    EXPECT_TRUE(eventually([&] {
        ctlLog_ = LogFile(scratch_ / ("health" + std::to_string(++runs_)));
        EXPECT_EQ(kelpctl({"health", "--json"}), 0) << ctlLog_.text();
        health = Json::parse(ctlLog_.text(), nullptr, false);
        return health["operationLog"]["written"] >= 3 && health["securityLog"]["written"] >= 2 &&
               health["operationLog"]["waiting"] == 0 && health["securityLog"]["waiting"] == 0;
    })) << ctlLog_.text();
    EXPECT_EQ(health["status"], "ok");
    EXPECT_EQ(health["operationLog"]["missing"], 0);
    EXPECT_EQ(health["operationLog"]["fails"], false);
    ctlLog_ = LogFile(scratch_ / "health");
    EXPECT_EQ(kelpctl({"health"}), 0);
    EXPECT_TRUE(ctlLog_.contains("operation log")) << ctlLog_.text();
    EXPECT_TRUE(ctlLog_.contains("  ok")) << ctlLog_.text();
}

TEST_F(Alarms, NotificationIdsKeepGrowingAfterARestartOfTheHost) {
    const std::vector<std::string> raise = {
        "alarm", "raise", "--object", "ManagedElement=1", "--severity", "major", "--probable-cause",
        "LOS",   "--json"};
    const auto nextId = [&] {
        ctlLog_ = LogFile(scratch_ / ("kelpctl" + std::to_string(++runs_)));
        EXPECT_EQ(kelpctl(raise), 0) << ctlLog_.text();
        const Json answer = Json::parse(ctlLog_.text(), nullptr, false);
        return std::stoull(answer.value("firstNotificationId", "0"));
    };
    const auto before = nextId();
    EXPECT_GT(before, 0u);
    EXPECT_EQ(host_.stop(), 0);
    host_.start();
    EXPECT_TRUE(host_.log().waitFor("kelpd is ready", 2));
    EXPECT_GT(nextId(), before);
}

TEST_F(Alarms, AcceptedAlarmsSurviveTheSuddenDeathOfTheHost) {
    const auto outcome = [&](const std::string& command, const std::string& element) {
        ctlLog_ = LogFile(scratch_ / ("kelpctl" + std::to_string(++runs_)));
        std::vector<std::string> arguments = {
            "alarm", command, "--object", "ManagedElement=" + element, "--probable-cause",
            "LOS",   "--json"};
        if (command == "raise")
            arguments.insert(arguments.end(), {"--severity", "major"});
        EXPECT_EQ(kelpctl(arguments), 0) << ctlLog_.text();
        return Json::parse(ctlLog_.text(), nullptr, false)["outcomes"][0].get<std::string>();
    };
    EXPECT_EQ(outcome("raise", "1"), "raised");
    EXPECT_EQ(outcome("raise", "2"), "raised");
    EXPECT_EQ(outcome("clear", "2"), "cleared");
    host_.process().signal(SIGKILL);
    host_.process().waitExit();
    host_.start();
    EXPECT_TRUE(host_.log().waitFor("kelpd is ready", 2));
    EXPECT_EQ(outcome("raise", "1"), "repeated");
    EXPECT_EQ(outcome("clear", "2"), "not active");
}

TEST_F(Alarms, StormEndsWithTheNumberSoFarWhenTheHostStops) {
    ChildProcess storm(kelpctlLaunch({"storm", "--rate", "50", "--count", "100000"}));
    ChildProcess nms = follow(1);
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(storm.waitExit(), 1);
    EXPECT_TRUE(ctlLog_.contains(" of 100000 alarms accepted)")) << ctlLog_.text();
}

}  // namespace
}  // namespace kelp::test
