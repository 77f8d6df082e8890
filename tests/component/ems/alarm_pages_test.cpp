#include "alarms/alarm_pages.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "alarms/alarm_intake.h"
#include "alarms/page_query.h"
#include "shared_list.h"

namespace kelp::ems {
namespace {

using admin::Json;
using admin::RequestError;
using kelp::test::refusal;
using kelp::test::smallestAlarm;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class AlarmPagesTest : public testing::Test {
  protected:
    /// Report an alarm of the element. Return its notification id.
    static std::string report(const std::string& element, const std::string& severity = "PS_MAJOR",
                              const std::string& cause = "LOS") {
        return acceptAlarms({{"objectName", {{"EMS", "Kelp/EMS"}, {"ManagedElement", element}}},
                             {"probableCause", cause},
                             {"perceivedSeverity", severity}})["firstNotificationId"];
    }
    void acknowledge(const std::string& element, bool isAcknowledged = true) {
        list_.service->submit(
            {alarms::Acknowledge{{{{"EMS", "Kelp/EMS"}, {"ManagedElement", element}}, 1, "LOS", ""},
                                 isAcknowledged,
                                 "ada",
                                 "on my way"}});
    }
    /// The elements of the alarms of an answer.
    static std::vector<std::string> elementsOf(const Json& answer) {
        std::vector<std::string> elements;
        for (const Json& each : answer["alarms"])
            elements.push_back(each["objectName"]["ManagedElement"]);
        return elements;
    }
    std::vector<std::string> activeElements(const AlarmPages::Parameters& parameters) {
        return elementsOf(pages_.active(parameters));
    }

    kelp::test::SharedList list_;
    AlarmPages pages_;
};

TEST_F(AlarmPagesTest, ShowsAnAlarmWithAllItsFieldsAndWhatTheListKnows) {
    Json reported = kelp::test::wholeAlarm();
    reported["isClearable"] = true;
    reported["acknowledgeIndication"] = "AI_EVENT_ACKNOWLEDGED";
    const Json accepted = acceptAlarms(reported);
    acceptAlarms(reported);
    const Json answer = pages_.active({});
    EXPECT_EQ(answer["matching"], 1);
    EXPECT_EQ(answer["unacknowledged"], 0);
    EXPECT_EQ(answer["counts"]["PS_CRITICAL"], 1);
    EXPECT_EQ(answer["counts"]["PS_MAJOR"], 0);
    EXPECT_FALSE(answer.contains("next"));
    EXPECT_EQ(answer["position"],
              std::to_string(std::stoull(accepted["lastNotificationId"].get<std::string>()) + 1));
    Json shown = answer["alarms"].at(0);
    EXPECT_EQ(shown["notificationId"], accepted["firstNotificationId"]);
    EXPECT_EQ(shown["repeats"], 1);
    EXPECT_EQ(shown["isFlapping"], false);
    EXPECT_EQ(shown["isAcknowledged"], true);
    EXPECT_EQ(shown["emsTime"], shown["raisedTime"]);
    EXPECT_FALSE(shown["reportedTime"].get<std::string>().empty());
    reported["objectName"] = {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-1"}};
    for (const auto& [key, value] : reported.items())
        EXPECT_EQ(shown[key], value) << key;
}

TEST_F(AlarmPagesTest, ShowsWhoAcknowledgedAnAlarmAndWhen) {
    report("1");
    EXPECT_FALSE(pages_.active({})["alarms"].at(0).contains("acknowledgedBy"));
    acknowledge("1");
    const Json shown = pages_.active({})["alarms"].at(0);
    EXPECT_EQ(shown["isAcknowledged"], true);
    EXPECT_EQ(shown["acknowledgeIndication"], "AI_EVENT_ACKNOWLEDGED");
    EXPECT_EQ(shown["acknowledgedBy"], "ada");
    EXPECT_EQ(shown["notepad"], "on my way");
    EXPECT_EQ(shown["acknowledgedTime"], shown["emsTime"]);
}

TEST_F(AlarmPagesTest, SelectsAlarms) {
    report("1", "PS_CRITICAL");
    report("2", "PS_MAJOR", "AIS");
    report("3", "PS_MINOR");
    acknowledge("3");
    EXPECT_THAT(activeElements({}), ElementsAre("1", "2", "3"));
    EXPECT_THAT(activeElements({{"severity", "PS_MINOR,PS_CRITICAL"}}), ElementsAre("1", "3"));
    EXPECT_THAT(activeElements({{"severity", "PS_WARNING"}}), ElementsAre());
    EXPECT_THAT(activeElements({{"probableCause", "AIS"}}), ElementsAre("2"));
    EXPECT_THAT(activeElements({{"acknowledged", "true"}}), ElementsAre("3"));
    EXPECT_THAT(activeElements({{"acknowledged", "false"}, {"probableCause", "LOS"}}),
                ElementsAre("1"));
    EXPECT_THAT(activeElements({{"object", R"({"EMS":"Kelp/EMS","ManagedElement":"2"})"}}),
                ElementsAre("2"));
    EXPECT_THAT(activeElements({{"object", R"([{"name":"EMS","value":"Kelp/EMS"}])"}}),
                ElementsAre("1", "2", "3"));
    EXPECT_EQ(pages_.active({{"acknowledged", "true"}})["counts"]["PS_CRITICAL"], 0)
        << "the numbers are of the selected ones";
}

TEST_F(AlarmPagesTest, SelectsAlarmsByTheTimeOfTheirLastEvent) {
    report("1");
    const std::string longAgo = "20010101000000.0Z";
    const std::string farAhead = "20990101000000.0Z";
    EXPECT_THAT(activeElements({{"since", longAgo}, {"until", farAhead}}), ElementsAre("1"));
    EXPECT_THAT(activeElements({{"since", farAhead}}), ElementsAre());
    EXPECT_THAT(activeElements({{"until", longAgo}}), ElementsAre());
}

TEST_F(AlarmPagesTest, PagesShowTheListAtOnePosition) {
    for (const char* const element : {"1", "2", "3", "4", "5"})
        report(element);
    const Json first = pages_.active({{"limit", "2"}});
    EXPECT_THAT(elementsOf(first), ElementsAre("1", "2"));
    EXPECT_EQ(first["matching"], 5);
    EXPECT_EQ(first["next"], first["alarms"].at(1)["notificationId"]);
    // changes meanwhile are not in the pages that follow
    report("3", "PS_CLEARED");
    report("4", "PS_MINOR");
    report("6");
    AlarmPages::Parameters next = {
        {"limit", "2"}, {"after", first["next"]}, {"at", first["position"]}};
    const Json second = pages_.active(next);
    EXPECT_THAT(elementsOf(second), ElementsAre("3", "4"));
    EXPECT_EQ(second["alarms"].at(1)["perceivedSeverity"], "PS_MAJOR");
    EXPECT_EQ(second["position"], first["position"]);
    next["after"] = second["next"];
    const Json third = pages_.active(next);
    EXPECT_THAT(elementsOf(third), ElementsAre("5"));
    EXPECT_FALSE(third.contains("next"));
    EXPECT_THAT(activeElements({}), ElementsAre("1", "2", "5", "4", "6"));
}

TEST_F(AlarmPagesTest, ForgetsAListThatNobodyReads) {
    for (const char* const element : {"1", "2"})
        report(element);
    const Json first = pages_.active({{"limit", "1"}});
    // each of these readers begins at another position
    for (std::size_t i = 0; i < KeptLists::kListsMax; ++i) {
        report(std::to_string(i + 3));
        pages_.active({{"limit", "1"}});
    }
    EXPECT_THAT(refusal(
                    [&] {
                        pages_.active({{"after", first["next"]}, {"at", first["position"]}});
                    },
                    RequestError::kGone),
                HasSubstr("is not kept any more"));
}

TEST_F(AlarmPagesTest, APageOfLongTextsIsShort) {
    Json large = smallestAlarm();
    large["additionalText"] = std::string(900'000, 'x');
    for (int i = 0; i < 11; ++i) {
        large["probableCauseQualifier"] = std::to_string(i);
        acceptAlarms(large);
    }
    const Json answer = pages_.active({{"limit", "10000"}});
    EXPECT_EQ(answer["alarms"].size(), 9u) << "8 MiB";
    EXPECT_EQ(answer["matching"], 11);
    EXPECT_TRUE(answer.contains("next"));
}

TEST_F(AlarmPagesTest, ShowsTheHistoryInTheOrderOfTheEnds) {
    report("1");
    const std::string raised = report("2");
    const std::string end = report("2", "PS_CLEARED");
    report("1", "PS_CLEARED");
    const Json history = pages_.history({});
    EXPECT_THAT(elementsOf(history), ElementsAre("2", "1"));
    EXPECT_EQ(history["matching"], 2);
    const Json past = history["alarms"].at(0);
    EXPECT_EQ(past["notificationId"], raised);
    EXPECT_EQ(past["endNotificationId"], end);
    EXPECT_EQ(past["perceivedSeverity"], "PS_MAJOR");
    EXPECT_FALSE(past["endTime"].get<std::string>().empty());
    const Json first = pages_.history({{"limit", "1"}});
    EXPECT_THAT(elementsOf(first), ElementsAre("2"));
    EXPECT_THAT(elementsOf(pages_.history({{"after", first["next"]}, {"at", first["position"]}})),
                ElementsAre("1"));
    EXPECT_THAT(elementsOf(pages_.history({{"severity", "PS_MINOR"}})), ElementsAre());
    EXPECT_THAT(activeElements({}), ElementsAre());
}

TEST_F(AlarmPagesTest, ShowsTheNewestFirst) {
    for (const char* const element : {"1", "2", "3"})
        report(element);
    for (const char* const element : {"2", "3", "1"})
        report(element, "PS_CLEARED");
    EXPECT_THAT(elementsOf(pages_.history({{"order", "oldest"}})), ElementsAre("2", "3", "1"));
    AlarmPages::Parameters query = {{"order", "newest"}, {"limit", "2"}};
    const Json first = pages_.history(query);
    EXPECT_THAT(elementsOf(first), ElementsAre("1", "3"));
    EXPECT_EQ(first["matching"], 3);
    query.emplace("after", first["next"]);
    query.emplace("at", first["position"]);
    const Json second = pages_.history(query);
    EXPECT_THAT(elementsOf(second), ElementsAre("2"));
    EXPECT_FALSE(second.contains("next"));
    report("4");
    report("5");
    EXPECT_THAT(activeElements({{"order", "newest"}}), ElementsAre("5", "4"));
}

TEST_F(AlarmPagesTest, ShowsOneAlarmByTheIdOfItsLastEventOrItsEnd) {
    const std::string raised = report("1");
    const Json active = AlarmPages::one(raised);
    EXPECT_EQ(active["isActive"], true);
    EXPECT_EQ(active["alarm"]["notificationId"], raised);
    const std::string changed = report("1", "PS_MINOR");
    EXPECT_EQ(AlarmPages::one(changed)["alarm"]["perceivedSeverity"], "PS_MINOR");
    const std::string end = report("1", "PS_CLEARED");
    for (const std::string& id : {changed, end}) {
        const Json past = AlarmPages::one(id);
        EXPECT_EQ(past["isActive"], false);
        EXPECT_EQ(past["alarm"]["endNotificationId"], end);
    }
    for (const std::string id : {"1", "", "x", "-1", "99999999999999999999999"})
        EXPECT_THAT(refusal([&] { AlarmPages::one(id); }, RequestError::kNotFound),
                    StartsWith("no alarm has the notification id \"" + id + "\""));
}

TEST_F(AlarmPagesTest, NamesTheWrongParameter) {
    const auto refused = [&](const std::string& name, const std::string& value) {
        return refusal([&] { pages_.active({{name, value}}); });
    };
    for (const std::string value : {"major", "PS_MAJOR,", "", ",", "PS_MAJOR;PS_MINOR"})
        EXPECT_THAT(refused("severity", value), StartsWith("severity must be PS_INDETERMINATE, "))
            << value;
    for (const std::string value : {"", "0", "10001", "-1", "1e3", "0x10", "99999999999999999999"})
        EXPECT_THAT(refused("limit", value), StartsWith("limit must be a number from 1 to 10000"))
            << value;
    for (const std::string name : {"after", "at"})
        EXPECT_THAT(refused(name, "1 "), StartsWith(name + " must be a number, but is \"1 \""));
    for (const std::string value : {"", "yes", "TRUE"})
        EXPECT_THAT(refused("acknowledged", value), StartsWith("acknowledged must be true or"));
    for (const std::string value : {"", "first", "NEWEST"})
        EXPECT_THAT(refused("order", value), StartsWith("order must be oldest or newest, but is "));
    for (const std::string name : {"since", "until"})
        EXPECT_THAT(refused(name, "now"), StartsWith(name + " must be a time such as"));
    for (const std::string value :
         {"", "NE-1", "{}", "[]", "7", R"({"EMS":7})", R"({"EMS":"a","EMS":"b"})"})
        EXPECT_THAT(refused("object", value), StartsWith("object must be the name of an object"))
            << value;
    EXPECT_THAT(refused("object", std::string(5000, '[')), StartsWith("object must be the name"));
    EXPECT_THAT(refused("since", "\x1b[2J\n"), HasSubstr(R"("\x1B[2J\n")")) << "shown escaped";
}

TEST(AlarmPagesWithoutAList, SaysThatThereIsNone) {
    EXPECT_EQ(refusal([] { AlarmPages().active({}); }, RequestError::kUnavailable),
              "the EMS has no list of alarms now");
}

TEST(KeptLists, KeepsTheListsThatWereReadLast) {
    using namespace std::chrono_literals;
    alarms::AlarmList list;
    alarms::Position position = 0;
    const auto next = [&] {
        list.apply(++position, {});
        return list.snapshot();
    };
    KeptLists kept;
    const KeptLists::Clock::time_point begin{};
    const ListStatePtr first = next();
    kept.keep(first, begin);
    EXPECT_EQ(kept.find(1, begin), first);
    EXPECT_EQ(kept.find(2, begin), nullptr);
    for (int i = 0; i < 3; ++i)
        kept.keep(next(), begin);
    kept.keep(first, begin + 50s);
    kept.keep(next(), begin + 50s);
    EXPECT_EQ(kept.find(1, begin + 50s), first) << "it was read again";
    EXPECT_EQ(kept.find(2, begin + 50s), nullptr) << "it was read first";
    EXPECT_NE(kept.find(3, begin + 60s), nullptr);
    EXPECT_EQ(kept.find(3, begin + 61s), nullptr) << "it is too old";
    EXPECT_EQ(kept.find(1, begin + 110s), first);
    EXPECT_EQ(kept.find(1, begin + 111s), nullptr);
}

}  // namespace
}  // namespace kelp::ems
