// The commands that show the host's list of alarms. Here the test takes the place of the host.

#include <gmock/gmock.h>

#include <optional>
#include <vector>

#include "admin/admin_server.h"
#include "kelpctl_fixture.h"

namespace kelp::test {
namespace {

using admin::Json;
using admin::Request;
using testing::HasSubstr;

constexpr const char* kAlarm = R"({
    "notificationId": "17", "emsTime": "20240105030405.0Z",
    "objectName": {"EMS": "Kelp/EMS", "ManagedElement": "NE-1", "PTP": "/port=1"},
    "probableCause": "LOS", "perceivedSeverity": "PS_MAJOR", "additionalText": "the fibre is out",
    "repeats": 3, "isFlapping": true, "isAcknowledged": true, "acknowledgedBy": "ada"})";

/// kelpctl with a host that has prepared answers.
class AlarmListCommands : public KelpctlTest {
  protected:
    void SetUp() override {
        folder.write("kelp.toml", "[ems]\nname = \"Acme/North\"\n");
        admin::Address address;
        address.socket = folder / "admin.sock";
        host_.emplace(address, host::AdminLimits{}, registry_);
    }

    /// An answer with these alarms. `next` is empty for the last page.
    static Json page(std::vector<Json> alarms, const std::string& next = "") {
        Json answer = {{"position", "99"},
                       {"matching", alarms.size()},
                       {"unacknowledged", 0},
                       {"counts", {{"PS_CRITICAL", 0}, {"PS_MAJOR", alarms.size()}}},
                       {"alarms", std::move(alarms)}};
        if (!next.empty())
            answer["next"] = next;
        return answer;
    }
    static Json alarm(const std::string& id = "17") {
        Json made = Json::parse(kAlarm);
        made["notificationId"] = id;
        return made;
    }
    Json answer(const Request& request) {
        requests_.push_back(request.parameters);
        if (requests_.size() > answers_.size())
            throw admin::RequestError("no more answers");
        const Json& made = answers_.at(requests_.size() - 1);
        if (made.is_null())
            throw admin::RequestError("the list is gone", admin::RequestError::kGone);
        return made;
    }

    using Parameters = std::map<std::string, std::string>;
    const std::set<std::string> parameters_ = {
        "severity", "object", "probableCause", "acknowledged", "since",
        "until",    "limit",  "after",         "at",           "order"};
    std::vector<Json> answers_;  // null: the list is gone
    std::vector<Parameters> requests_;
    admin::Registry registry_;
    const admin::Registration list_ = registry_.enter(
        "GET", "/alarms", parameters_, [this](const Request& request) { return answer(request); });
    const admin::Registration history_ =
        registry_.enter("GET", "/alarms/history", parameters_,
                        [this](const Request& request) { return answer(request); });
    const admin::Registration one_ =
        registry_.enter("GET", "/alarms/*", {}, [](const Request& request) -> Json {
            if (request.item != "17")
                throw admin::RequestError("no such alarm", admin::RequestError::kNotFound);
            return {{"position", "99"}, {"isActive", true}, {"alarm", alarm()}};
        });
    const admin::Registration acknowledgements_ =
        registry_.enter("POST", "/alarms/acknowledgements", [this](const Json& request) -> Json {
            acknowledged_ = request;
            Json outcomes = Json::array();
            for (const Json& each : request["alarms"])
                outcomes.push_back(each == "18" ? "not active" : "acknowledged");
            return {{"position", "99"}, {"outcomes", outcomes}};
        });
    Json acknowledged_;
    std::optional<host::AdminServer> host_;
};

TEST_F(AlarmListCommands, ListIsATable) {
    answers_ = {page({alarm()})};
    const ToolRun run = kelpctl("alarm list");
    EXPECT_EQ(
        run.output,
        "ID  TIME               SEVERITY  ACKNOWLEDGED  REPEATS     OBJECT                    "
        "       CAUSE  TEXT\n"
        "17  20240105030405.0Z  major     by ada        3 flapping  ManagedElement=NE-1 "
        "PTP=/port=1  LOS    the fibre is out\n"
        "1 alarm, 0 unacknowledged: 1 major\n")
        << run;
    EXPECT_EQ(requests_.at(0), (Parameters{{"limit", "10000"}}));
}

TEST_F(AlarmListCommands, ListOfNoAlarmsHasItsNumbers) {
    answers_ = {page({})};
    EXPECT_THAT(kelpctl("alarm list").output, HasSubstr("\n0 alarms, 0 unacknowledged\n"));
}

TEST_F(AlarmListCommands, OptionsBecomeParameters) {
    answers_ = {page({})};
    const ToolRun run = kelpctl(
        "alarm list --object ManagedElement=NE-1 --severity Critical,major --probable-cause 'a&b' "
        "--unacknowledged --since 2025-03-01T12:00:00Z --until 2025-03-02 --limit 5");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_EQ(requests_.at(0),
              (Parameters{{"object", R"([{"name":"EMS","value":"Acme/North"},)"
                                     R"({"name":"ManagedElement","value":"NE-1"}])"},
                          {"severity", "PS_CRITICAL,PS_MAJOR"},
                          {"probableCause", "a&b"},
                          {"acknowledged", "false"},
                          {"since", "20250301120000.0Z"},
                          {"until", "20250302000000.0Z"},
                          {"limit", "5"}}));
}

TEST_F(AlarmListCommands, AllPagesAreReadAtOnePosition) {
    answers_ = {page({alarm("1"), alarm("2")}, "2"), page({alarm("3")}, "3"), page({alarm("4")})};
    const ToolRun run = kelpctl("alarm list --json --acknowledged");
    const Json shown = Json::parse(run.output, nullptr, false);
    ASSERT_TRUE(shown.is_object()) << run;
    EXPECT_EQ(shown["position"], "99");
    EXPECT_EQ(shown["alarms"], Json::array({alarm("1"), alarm("2"), alarm("3"), alarm("4")}));
    EXPECT_FALSE(shown.contains("next"));
    ASSERT_EQ(requests_.size(), 3u);
    EXPECT_EQ(
        requests_[2],
        (Parameters{{"acknowledged", "true"}, {"limit", "10000"}, {"after", "3"}, {"at", "99"}}));
}

TEST_F(AlarmListCommands, ALimitEndsTheReading) {
    answers_ = {page({alarm("1"), alarm("2")}, "2"), page({alarm("3")}, "3")};
    const ToolRun run = kelpctl("alarm history --limit 3");
    EXPECT_THAT(run.output, HasSubstr("(--limit leaves some out)")) << run;
    ASSERT_EQ(requests_.size(), 2u);
    EXPECT_EQ(requests_[1].at("limit"), "1");
    EXPECT_EQ(requests_[1].at("order"), "newest");
}

TEST_F(AlarmListCommands, AListThatIsGoneIsReadAgain) {
    answers_ = {page({alarm("1")}, "1"), nullptr, page({alarm("5")}, "5"), page({alarm("6")})};
    const Json shown = Json::parse(kelpctl("alarm list --json").output, nullptr, false);
    EXPECT_EQ(shown["alarms"], Json::array({alarm("5"), alarm("6")}));
    EXPECT_FALSE(requests_.at(2).contains("at"));
    answers_.insert(answers_.end(), 3, nullptr);
    EXPECT_TRUE(kelpctl("alarm list").failedWith(1, "the list is gone"));
}

TEST_F(AlarmListCommands, TextsOfAlarmsAreEscaped) {
    Json hostile = alarm();
    hostile["additionalText"] = "a\nb\x1b[2Jc\u009b" + std::string(100, 'x');
    hostile["objectName"] = {{"ManagedElement", "NE\r1"}};
    answers_ = {page({hostile})};
    const ToolRun run = kelpctl("alarm list");
    EXPECT_THAT(run.output, HasSubstr(R"(a\nb\x1B[2Jc\xC2\x9Bxxx)")) << run;
    EXPECT_THAT(run.output, HasSubstr(R"(ManagedElement=NE\r1)"));
    EXPECT_THAT(run.output, HasSubstr("xxx...\n"));
    EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 3);
}

TEST_F(AlarmListCommands, ShowPrintsAllFields) {
    const ToolRun run = kelpctl("alarm show 17");
    EXPECT_THAT(run.output, HasSubstr("state                           active\n")) << run;
    EXPECT_THAT(run.output, HasSubstr("additionalText                  the fibre is out\n"));
    EXPECT_THAT(run.output, HasSubstr("repeats                         3\n"));
    EXPECT_EQ(Json::parse(kelpctl("alarm show 17 --json").output)["alarm"], alarm());
    EXPECT_TRUE(kelpctl("alarm show 18").failedWith(1, "no such alarm"));
}

TEST_F(AlarmListCommands, AckSendsIdsAndWhoItIs) {
    ToolRun run = kelpctl("alarm ack 17 19 --user ada --note 'on my way'");
    EXPECT_EQ(run.output, "17 acknowledged\n19 acknowledged\n") << run;
    EXPECT_EQ(acknowledged_, Json::parse(R"({"alarms": ["17", "19"], "user": "ada",
        "notepad": "on my way", "isAcknowledged": true})"));
    run = kelpctl("alarm ack 17 18");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "17 acknowledged\n18 not active\n");
    EXPECT_EQ(run.errors, "kelpctl: 1 of 2 alarms not active, or changed meanwhile\n");
    EXPECT_FALSE(acknowledged_["user"].get<std::string>().empty());
}

TEST_F(AlarmListCommands, UnackSendsAnIdentity) {
    const ToolRun run = kelpctl(
        "alarm unack --object ManagedElement=NE-1 --probable-cause LOS --layer-rate 20 --json");
    EXPECT_EQ(Json::parse(run.output, nullptr, false)["outcomes"][0], "acknowledged") << run;
    EXPECT_EQ(acknowledged_["isAcknowledged"], false);
    EXPECT_EQ(acknowledged_["alarms"], Json::parse(R"([{
        "objectName": [{"name": "EMS", "value": "Acme/North"},
                       {"name": "ManagedElement", "value": "NE-1"}],
        "layerRate": 20, "probableCause": "LOS", "probableCauseQualifier": ""}])"));
}

TEST_F(AlarmListCommands, WrongCommandLinesAreNamed) {
    EXPECT_TRUE(kelpctl("alarm ack").failedWith(1, "give the ids of alarms"));
    EXPECT_TRUE(kelpctl("alarm ack --object A=1").failedWith(2, "--probable-cause"));
    EXPECT_TRUE(kelpctl("alarm ack x").failedWith(2, "ids"));
    EXPECT_TRUE(
        kelpctl("alarm ack 17 --object A=1 --probable-cause LOS").failedWith(2, "excludes"));

    EXPECT_TRUE(
        kelpctl("alarm list --severity huge").failedWith(2, "\"huge\" is none of critical"));
    EXPECT_TRUE(kelpctl("alarm list --limit 0").failedWith(2, "--limit"));
    EXPECT_TRUE(kelpctl("alarm list --since yesterday").failedWith(1, "--since: \"yesterday\""));
    EXPECT_TRUE(kelpctl("alarm list --acknowledged --unacknowledged").failedWith(2, "excludes"));
    EXPECT_TRUE(kelpctl("alarm show").failedWith(2, "id is required"));
    EXPECT_TRUE(kelpctl("alarm show x").failedWith(2, "id"));
    EXPECT_TRUE(requests_.empty());
}

}  // namespace
}  // namespace kelp::test
