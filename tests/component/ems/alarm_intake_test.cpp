// The path of alarms from the operator's interface to the notification channel.

#include "alarms/alarm_intake.h"

#include <gmock/gmock.h>
#include <kelp/agent/time_change.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>

#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "alarm_texts.h"
#include "alarms/alarm_keeping.h"
#include "component/corbabase/base_orb.h"
#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace kelp::ems {
namespace {

using admin::Json;
using kelp::test::refusal;
using kelp::test::smallestAlarm;

/// Return the text of the event's field at this position.
std::string textAt(const CosNotification::StructuredEvent& event, CORBA::ULong place) {
    const char* text = "no text";
    if (event.filterable_data.length() > place)
        event.filterable_data[place].value >>= text;
    return text;
}

constexpr CORBA::ULong kNotificationId = 0;
constexpr CORBA::ULong kEmsTime = 6;

/// An alarm of the element with this number.
Json alarmOf(int element) {
    Json alarm = smallestAlarm();
    alarm["probableCauseQualifier"] = std::to_string(element);
    return alarm;
}

/// The configuration of an EMS whose list of alarms is in the folder.
std::string configurationIn(const kelp::test::TemporaryDirectory& folder) {
    return std::string(kelp::test::kFreePort) +
           "[notification]\nheartbeat_s = 0\n[alarms]\nlog = \"" +
           (folder / "changes.db").string() + "\"\ndurability = \"normal\"\n";
}

/// The running channel with a consumer that pulls.
class AlarmIntake : public testing::Test {
  protected:
    AlarmIntake() : orb_(configurationIn(folder_)) {
        keeping_.start();
        EXPECT_EQ(NS_CORBA::AgentServer::Activate(), 0);
        EXPECT_EQ(NS_CORBA::SuppilerMgr::Instance()->Start(0), 0);
        const CosNotifyChannelAdmin::EventChannel_var channel =
            NS_CORBA::EventMgr::Instance()->GetEventChannel();
        const CosNotifyChannelAdmin::ConsumerAdmin_var admin = channel->default_consumer_admin();
        CosNotifyChannelAdmin::ProxyID id = 0;
        const CosNotifyChannelAdmin::ProxySupplier_var supplier =
            admin->obtain_notification_pull_supplier(CosNotifyChannelAdmin::STRUCTURED_EVENT, id);
        proxy_ = CosNotifyChannelAdmin::StructuredProxyPullSupplier::_narrow(supplier.in());
        proxy_->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
    }
    ~AlarmIntake() override {
        keeping_.stop();
        NS_CORBA::SuppilerMgr::Instance()->ExitThread();
        NS_CORBA::SuppilerMgr::Destroy();
        NS_CORBA::EventMgr::Destroy();
        proxy_ = CosNotifyChannelAdmin::StructuredProxyPullSupplier::_nil();
    }

    /// Return the notification id of the next event; empty if none arrives.
    std::string nextId() {
        CosNotification::StructuredEvent_var event;
        CORBA::Boolean hasEvent = false;
        if (!kelp::test::waitUntil([&] {
                event = proxy_->try_pull_structured_event(hasEvent);
                return static_cast<bool>(hasEvent);
            }))
            return "";
        emsTime_ = textAt(event.in(), kEmsTime);
        return textAt(event.in(), kNotificationId);
    }
    bool hasEvent() {
        CORBA::Boolean has = false;
        const CosNotification::StructuredEvent_var event = proxy_->try_pull_structured_event(has);
        return has;
    }

    kelp::test::TemporaryDirectory folder_;
    kelp::test::BaseOrb orb_;
    CosNotifyChannelAdmin::StructuredProxyPullSupplier_var proxy_;
    AlarmKeeping keeping_;
    std::string emsTime_;
};

TEST_F(AlarmIntake, OneAlarmGetsAnIdAndTheEmsTime) {
    const Json answer = acceptAlarms(smallestAlarm());
    EXPECT_EQ(answer["taken"], 1);
    EXPECT_EQ(answer["firstNotificationId"], answer["lastNotificationId"]);
    EXPECT_EQ(nextId(), answer["firstNotificationId"]);
    bool isWrong = true;
    std::tm time = NS_KELPCORBA::TimeChange::str2Time(emsTime_, isWrong);
    ASSERT_FALSE(isWrong) << emsTime_;
    EXPECT_LE(std::abs(std::difftime(std::time(nullptr), std::mktime(&time))), 30) << emsTime_;
}

TEST_F(AlarmIntake, AlarmsOfARequestArriveInOrderWithGrowingIds) {
    const Json answer = acceptAlarms(Json::array({alarmOf(1), alarmOf(2), alarmOf(3)}));
    EXPECT_EQ(answer["taken"], 3);
    EXPECT_EQ(answer["outcomes"], Json::array({"raised", "raised", "raised"}));
    const auto first = std::stoull(answer["firstNotificationId"].get<std::string>());
    for (unsigned long long i = 0; i < 3; ++i)
        EXPECT_EQ(nextId(), std::to_string(first + i));
    EXPECT_EQ(answer["lastNotificationId"], std::to_string(first + 2));
    const Json later = acceptAlarms(smallestAlarm());
    EXPECT_EQ(later["firstNotificationId"], std::to_string(first + 3));
}

TEST_F(AlarmIntake, NoAlarmOfARequestIsAcceptedWhenOneIsInvalid) {
    Json wrong = smallestAlarm();
    wrong["perceivedSeverity"] = "PS_HUGE";
    const std::string why = refusal([&] {
        acceptAlarms(Json::array({smallestAlarm(), smallestAlarm(), wrong}));
    });
    EXPECT_EQ(why.rfind("alarm 3 of 3: perceivedSeverity", 0), 0u) << why;
    const Json answer = acceptAlarms(smallestAlarm());
    EXPECT_EQ(nextId(), answer["firstNotificationId"]) << "the next one is the first to come";
    EXPECT_FALSE(hasEvent());
}

TEST_F(AlarmIntake, EmptyRequestRaisesNoAlarm) {
    EXPECT_EQ(acceptAlarms(Json::array()).dump(), R"({"taken":0})");
}

TEST_F(AlarmIntake, IdsOfSeveralCallersGrowInTheOrderOfTheEvents) {
    constexpr int kCallers = 4;
    constexpr int kEach = 50;
    std::vector<std::thread> callers;
    for (int i = 0; i < kCallers; ++i)
        callers.emplace_back([i] {
            for (int j = 0; j < kEach; ++j)
                acceptAlarms(alarmOf(i * kEach + j));
        });
    for (std::thread& caller : callers)
        caller.join();
    unsigned long long last = 0;
    for (int i = 0; i < kCallers * kEach; ++i) {
        const std::string id = nextId();
        ASSERT_FALSE(id.empty());
        EXPECT_GT(std::stoull(id), last);
        last = std::stoull(id);
    }
}

TEST_F(AlarmIntake, ARepeatedAlarmIsCountedAndNotSent) {
    acceptAlarms(alarmOf(1));
    EXPECT_EQ(acceptAlarms(alarmOf(1))["outcomes"], Json::array({"repeated"}));
    const Json next = acceptAlarms(alarmOf(2));
    nextId();
    EXPECT_EQ(nextId(), next["firstNotificationId"]);
}

TEST_F(AlarmIntake, AClearOfAnAlarmThatIsNotActiveIsNotSent) {
    Json clear = alarmOf(1);
    clear["perceivedSeverity"] = "PS_CLEARED";
    EXPECT_EQ(acceptAlarms(clear)["outcomes"], Json::array({"not active"}));
    const Json next = acceptAlarms(alarmOf(1));
    EXPECT_EQ(nextId(), next["firstNotificationId"]);
}

TEST_F(AlarmIntake, ARepeatedRequestWithAKeyHasNoEffect) {
    const Json keyed = {{"idempotencyKey", "job 7"},
                        {"alarms", Json::array({alarmOf(1), alarmOf(2)})}};
    const Json first = acceptAlarms(keyed);
    EXPECT_EQ(first["taken"], 2);
    EXPECT_EQ(first["outcomes"], Json::array({"raised", "raised"}));
    Json clear = alarmOf(1);
    clear["perceivedSeverity"] = "PS_CLEARED";
    acceptAlarms(clear);
    for (int i = 0; i < 2; ++i) {
        Json expected = first;
        expected["outcomes"] = {"accepted earlier", "accepted earlier"};
        EXPECT_EQ(acceptAlarms(keyed), expected);
        keeping_.stop();
        keeping_.start();
    }
    nextId();
    nextId();
    nextId();
    const Json next = acceptAlarms(alarmOf(1));
    EXPECT_EQ(next["outcomes"], Json::array({"raised"})) << "it was not raised again";
    EXPECT_EQ(nextId(), next["firstNotificationId"]);
}

TEST_F(AlarmIntake, AKeyThatWasUsedWithOtherAlarmsIsRefused) {
    const auto keyed = [](std::initializer_list<int> elements) {
        Json all = Json::array();
        for (const int each : elements)
            all.push_back(alarmOf(each));
        return Json{{"idempotencyKey", "job 7"}, {"alarms", all}};
    };
    acceptAlarms(keyed({1, 2}));
    for (const Json& other : {keyed({1}), keyed({2, 1}), keyed({1, 2, 3}), keyed({1, 3})})
        EXPECT_EQ(refusal([&] { acceptAlarms(other); }, admin::RequestError::kConflict),
                  "the idempotency key \"job 7\" was used with other alarms")
            << other;
    EXPECT_EQ(acceptAlarms(alarmOf(3))["outcomes"], Json::array({"raised"})) << "nothing was kept";
}

TEST_F(AlarmIntake, ErrorsInARequestWithAKeyNameThePath) {
    Json wrong = alarmOf(2);
    wrong["layerRate"] = "20";
    const auto pathOf = [](const Json& request) {
        try {
            acceptAlarms(request);
        } catch (const admin::RequestError& refused) {
            EXPECT_EQ(refused.status(), admin::RequestError::kBadRequest);
            return refused.path() + ": " + refused.what();
        }
        return std::string("accepted");
    };
    using testing::StartsWith;
    const Json good = Json::array({alarmOf(1)});
    EXPECT_THAT(pathOf({{"idempotencyKey", "k"}, {"alarms", {alarmOf(1), wrong}}}),
                StartsWith("/alarms/1/layerRate: alarm 2 of 2: layerRate must be"));
    Json large = alarmOf(2);
    large["additionalText"] = std::string(1'000'000, 'x');
    EXPECT_THAT(pathOf(Json::array({alarmOf(1), large})),
                StartsWith("/1/additionalText: alarm 2 of 2: additionalText is too long"));
    EXPECT_THAT(pathOf({{"idempotencyKey", 7}, {"alarms", good}}),
                StartsWith("/idempotencyKey: idempotencyKey must be as in"));
    EXPECT_THAT(pathOf({{"idempotencyKey", ""}, {"alarms", good}}),
                StartsWith("/idempotencyKey: "));
    EXPECT_THAT(pathOf({{"idempotencyKey", "k"}, {"alarms", alarmOf(1)}}), StartsWith("/alarms: "));
    EXPECT_THAT(pathOf({{"alarms", good}}), StartsWith(": the request must be as in"));
    EXPECT_THAT(pathOf({{"idempotencyKey", "k"}}), StartsWith(": the request must be as in"));
    // 180 characters of two octets
    std::string longKey;
    for (int i = 0; i < 180; ++i)
        longKey += "ü";
    EXPECT_THAT(pathOf({{"idempotencyKey", longKey}, {"alarms", good}}),
                testing::HasSubstr("the idempotency key is longer than 180 octets"));
    EXPECT_EQ(acceptAlarms({{"idempotencyKey", "k"}, {"alarms", Json::array()}}).dump(),
              R"({"taken":0})");
}

TEST_F(AlarmIntake, ContinuesWithHigherIdsAfterARestart) {
    const auto before =
        std::stoull(acceptAlarms(alarmOf(1))["lastNotificationId"].get<std::string>());
    keeping_.stop();
    keeping_.start();
    EXPECT_EQ(acceptAlarms(alarmOf(2))["firstNotificationId"], std::to_string(before + 1));
}

TEST(AlarmIntakeWithoutAChannel, AcceptsAlarmsForLater) {
    const kelp::test::TemporaryDirectory folder;
    const kelp::test::BaseOrb orb(configurationIn(folder));
    AlarmKeeping keeping;
    keeping.start();
    EXPECT_EQ(acceptAlarms(smallestAlarm())["outcomes"], Json::array({"raised"}));
    keeping.stop();
    NS_CORBA::SuppilerMgr::Destroy();
}

TEST(AlarmIntakeWithoutAList, SaysThatItCannotAcceptAlarmsNow) {
    EXPECT_EQ(refusal([&] { acceptAlarms(smallestAlarm()); }, admin::RequestError::kUnavailable),
              "the EMS has no list of alarms now");
}

}  // namespace
}  // namespace kelp::ems
