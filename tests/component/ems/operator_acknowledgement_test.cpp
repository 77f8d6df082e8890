#include "alarms/operator_acknowledgement.h"

#include <gmock/gmock.h>

#include "alarms/alarm_intake.h"
#include "alarms/alarm_pages.h"
#include "shared_list.h"

namespace kelp::ems {
namespace {

using admin::Json;
using kelp::test::refusal;
using kelp::test::smallestAlarm;
using testing::HasSubstr;
using testing::StartsWith;

class OperatorAcknowledgement : public testing::Test {
  protected:
    /// Raise an alarm. Return its notification id.
    static std::string raise(const std::string& qualifier) {
        Json alarm = smallestAlarm();
        alarm["probableCauseQualifier"] = qualifier;
        return acceptAlarms(alarm)["firstNotificationId"];
    }
    static Json identity(const std::string& qualifier) {
        return {{"objectName", smallestAlarm()["objectName"]},
                {"probableCause", "LOS"},
                {"probableCauseQualifier", qualifier}};
    }
    static Json request(const Json& alarms, bool isAcknowledged = true) {
        return {{"alarms", alarms}, {"user", "ada"}, {"isAcknowledged", isAcknowledged}};
    }
    static Json outcomes(const Json& asked) { return acknowledgeForOperator(asked)["outcomes"]; }

    kelp::test::SharedList list_;
    AlarmPages pages_;
};

TEST_F(OperatorAcknowledgement, TakesNotificationIdsAndIdentities) {
    const std::string first = raise("1");
    raise("2");
    Json asked = request({first, identity("2")});
    asked["notepad"] = "on my way";
    const Json answer = acknowledgeForOperator(asked);
    EXPECT_EQ(answer["outcomes"], Json({"acknowledged", "acknowledged"}));
    const Json list = pages_.active({});
    EXPECT_EQ(answer["position"], list["position"]);
    EXPECT_EQ(list["unacknowledged"], 0);
    for (const Json& each : list["alarms"]) {
        EXPECT_EQ(each["acknowledgedBy"], "ada");
        EXPECT_EQ(each["notepad"], "on my way");
    }
}

TEST_F(OperatorAcknowledgement, CanBeTakenBack) {
    raise("1");
    EXPECT_EQ(outcomes(request(Json::array({identity("1")}))), Json::array({"acknowledged"}));
    EXPECT_EQ(outcomes(request(Json::array({identity("1")}), false)),
              Json::array({"unacknowledged"}));
    EXPECT_EQ(pages_.active({})["unacknowledged"], 1);
}

TEST_F(OperatorAcknowledgement, SaysWhichAlarmsItDoesNotChange) {
    const std::string raised = raise("1");
    EXPECT_EQ(outcomes(request({identity("1"), identity("2"), raised, "7", "x"})),
              Json({"acknowledged", "not active", "already so", "not active", "not active"}));
    EXPECT_EQ(outcomes(request(Json::array({identity("1")}))), Json::array({"already so"}));
    EXPECT_EQ(outcomes(request(Json::array({raised}))), Json::array({"not active"}))
        << "the acknowledgement is a later event";
}

TEST_F(OperatorAcknowledgement, RefusesAWrongRequestWithItsPath) {
    raise("1");
    const auto refused = [](const Json& asked) -> std::string {
        try {
            acknowledgeForOperator(asked);
        } catch (const admin::RequestError& wrong) {
            EXPECT_EQ(wrong.status(), admin::RequestError::kBadRequest);
            return wrong.path() + ": " + wrong.what();
        }
        return "accepted";
    };
    const auto with = [](const char* key, const Json& value) {
        Json asked = request(Json::array({identity("1")}));
        asked[key] = value;
        return asked;
    };
    for (const Json& each : {Json(7), Json::array(), Json{{"user", "ada"}}, Json()})
        EXPECT_THAT(refused(each), StartsWith(": the request must be as in"));
    for (const Json& each : {Json(7), Json::array(), Json("17")})
        EXPECT_THAT(refused(with("alarms", each)), StartsWith("/alarms: alarms must be an array"));
    EXPECT_THAT(refused(with("alarms", {identity("1"), 17})),
                StartsWith("/alarms/1: alarms/1 must be a notification id as a text"));
    Json wrong = identity("1");
    wrong["layerRate"] = -1;
    EXPECT_THAT(refused(with("alarms", Json::array({wrong}))),
                StartsWith("/alarms/0: alarms/0: layerRate"));
    wrong = identity("1");
    wrong["additionalText"] = "x";
    EXPECT_THAT(refused(with("alarms", Json::array({wrong}))),
                StartsWith("/alarms/0/additionalText: "));
    EXPECT_THAT(refused(with("alarms", Json::array({Json::object()}))),
                HasSubstr("objectName is missing"));
    for (const Json& each : {Json(7), Json(""), Json(std::string(257, 'x'))})
        EXPECT_THAT(refused(with("user", each)), StartsWith("/user: user must be"));
    EXPECT_THAT(refused(with("notepad", std::string(1025, 'x'))), StartsWith("/notepad: "));
    EXPECT_THAT(refused(with("isAcknowledged", "yes")), StartsWith("/isAcknowledged: "));
    EXPECT_THAT(refused(with("undo", true)), HasSubstr("\"undo\" is no member"));
    EXPECT_EQ(pages_.active({})["unacknowledged"], 1);
}

TEST_F(OperatorAcknowledgement, TextsAreEscaped) {
    raise("1");
    Json asked = request(Json::array({identity("1")}));
    asked["user"] = std::string("a\0\x1b[2J", 6);
    EXPECT_EQ(outcomes(asked), Json::array({"acknowledged"}));
    EXPECT_EQ(pages_.active({})["alarms"].at(0)["acknowledgedBy"], R"(a\x00\x1B[2J)");
}

}  // namespace
}  // namespace kelp::ems
