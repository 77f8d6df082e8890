// The path of alarms from the operator's interface to the notification channel.

#include "alarms/alarm_intake.h"

#include <gtest/gtest.h>
#include <kelp/agent/time_change.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>

#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "alarm_texts.h"
#include "component/corbabase/base_orb.h"
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

/// The running channel with a consumer that pulls.
class AlarmIntakeTest : public testing::Test {
  protected:
    AlarmIntakeTest()
        : orb_(std::string(kelp::test::kFreePort) + "[notification]\nheartbeat_s = 0\n") {
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
    ~AlarmIntakeTest() override {
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

    kelp::test::BaseOrb orb_;
    CosNotifyChannelAdmin::StructuredProxyPullSupplier_var proxy_;
    AlarmIntake intake_;
    std::string emsTime_;
};

TEST_F(AlarmIntakeTest, OneAlarmGetsAnIdAndTheEmsTime) {
    const Json answer = intake_.accept(smallestAlarm());
    EXPECT_EQ(answer["taken"], 1);
    EXPECT_EQ(answer["firstNotificationId"], answer["lastNotificationId"]);
    EXPECT_EQ(nextId(), answer["firstNotificationId"]);
    bool isWrong = true;
    std::tm time = NS_KELPCORBA::TimeChange::str2Time(emsTime_, isWrong);
    ASSERT_FALSE(isWrong) << emsTime_;
    EXPECT_LE(std::abs(std::difftime(std::time(nullptr), std::mktime(&time))), 30) << emsTime_;
}

TEST_F(AlarmIntakeTest, AlarmsOfARequestArriveInOrderWithGrowingIds) {
    const Json answer =
        intake_.accept(Json::array({smallestAlarm(), smallestAlarm(), smallestAlarm()}));
    EXPECT_EQ(answer["taken"], 3);
    const auto first = std::stoull(answer["firstNotificationId"].get<std::string>());
    for (unsigned long long i = 0; i < 3; ++i)
        EXPECT_EQ(nextId(), std::to_string(first + i));
    EXPECT_EQ(answer["lastNotificationId"], std::to_string(first + 2));
    const Json later = intake_.accept(smallestAlarm());
    EXPECT_EQ(later["firstNotificationId"], std::to_string(first + 3));
}

TEST_F(AlarmIntakeTest, NoAlarmOfARequestIsAcceptedWhenOneIsInvalid) {
    Json wrong = smallestAlarm();
    wrong["perceivedSeverity"] = "PS_HUGE";
    const std::string why = refusal([&] {
        intake_.accept(Json::array({smallestAlarm(), smallestAlarm(), wrong}));
    });
    EXPECT_EQ(why.rfind("alarm 3 of 3: perceivedSeverity", 0), 0u) << why;
    const Json answer = intake_.accept(smallestAlarm());
    EXPECT_EQ(nextId(), answer["firstNotificationId"]) << "the next one is the first to come";
    EXPECT_FALSE(hasEvent());
}

TEST_F(AlarmIntakeTest, EmptyRequestRaisesNoAlarm) {
    EXPECT_EQ(intake_.accept(Json::array()).dump(), R"({"taken":0})");
}

TEST_F(AlarmIntakeTest, IdsOfSeveralCallersGrowInTheOrderOfTheEvents) {
    constexpr int kCallers = 4;
    constexpr int kEach = 50;
    std::vector<std::thread> callers;
    for (int i = 0; i < kCallers; ++i)
        callers.emplace_back([this] {
            for (int j = 0; j < kEach; ++j)
                intake_.accept(smallestAlarm());
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

TEST(AlarmIntakeAfterARestart, ContinuesWithHigherIds) {
    kelp::test::BaseOrb orb;
    ASSERT_EQ(NS_CORBA::AgentServer::Activate(), 0);
    ASSERT_EQ(NS_CORBA::SuppilerMgr::Instance()->Start(0), 0);
    const auto lastIdOf = [](AlarmIntake& intake) {
        const Json answer = intake.accept(Json::array({smallestAlarm(), smallestAlarm()}));
        return std::stoull(answer["lastNotificationId"].get<std::string>());
    };
    std::optional<AlarmIntake> intake(std::in_place);
    const auto before = lastIdOf(*intake);
    intake.emplace();
    EXPECT_GT(lastIdOf(*intake), before);
    NS_CORBA::SuppilerMgr::Instance()->ExitThread();
    NS_CORBA::SuppilerMgr::Destroy();
    NS_CORBA::EventMgr::Destroy();
}

TEST(AlarmIntakeWithoutAChannel, ReportsThatItCannotAcceptAlarmsNow) {
    AlarmIntake intake;
    EXPECT_EQ(refusal([&] { intake.accept(smallestAlarm()); }, admin::RequestError::kUnavailable),
              "there is no notification channel now, no alarm was taken");
    NS_CORBA::SuppilerMgr::Destroy();
}

}  // namespace
}  // namespace kelp::ems
