// The path of the agent's events to a consumer of the channel.

#include <gtest/gtest.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/push_event.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <mtnm/notifications.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>

#include "component/corbabase/base_orb.h"
#include "counted_texts.h"
#include "event_fields.h"
#include "notify/suppiler_mgr_callback.h"
#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace NS_KELPCORBA {
namespace {

using CosNotification::StructuredEvent;
using CosNotification::StructuredEvent_var;
using kelp::test::waitUntil;

StructuredEvent named(const char* name) {
    StructuredEvent event;
    event.header.fixed_header.event_name = CORBA::string_dup(name);
    test::addField(event, "emsTime") <<= name;
    return event;
}

/// An event with a name as long as no other text.
constexpr std::size_t kLongName = 4321;
StructuredEvent longNamed() {
    StructuredEvent event = named("1");
    event.header.fixed_header.event_name = std::string(kLongName, 'x').c_str();
    return event;
}

std::string nameOf(const StructuredEvent& event) {
    return std::string(event.header.fixed_header.event_name.in());
}

class EventWay : public testing::Test {
  protected:
    ~EventWay() override {
        manager().ExitThread();
        NS_CORBA::SuppilerMgr::Destroy();
        NS_CORBA::EventMgr::Destroy();
        CorbaAgentConfig::Destroy();
        proxy_ = CosNotifyChannelAdmin::StructuredProxyPullSupplier::_nil();
        orb_.reset();
    }
    static NS_CORBA::SuppilerMgr& manager() { return *NS_CORBA::SuppilerMgr::Instance(); }

    /// Start the channel with a consumer that pulls.
    void start(const std::string& toml = "") {
        orb_.emplace(std::string(kelp::test::kFreePort) + "[notification]\nheartbeat_s = 0\n" +
                     toml);
        ASSERT_EQ(NS_CORBA::AgentServer::Activate(), 0);
        CorbaAgentConfig::Instance()->Init();
        manager().SetCallBack(&callBack_);
        ASSERT_EQ(manager().Start(0), 0);
        proxy_ = connect();
    }
    static CosNotifyChannelAdmin::StructuredProxyPullSupplier_var connect() {
        const CosNotifyChannelAdmin::EventChannel_var channel =
            NS_CORBA::EventMgr::Instance()->GetEventChannel();
        const CosNotifyChannelAdmin::ConsumerAdmin_var admin = channel->default_consumer_admin();
        CosNotifyChannelAdmin::ProxyID id = 0;
        const CosNotifyChannelAdmin::ProxySupplier_var supplier =
            admin->obtain_notification_pull_supplier(CosNotifyChannelAdmin::STRUCTURED_EVENT, id);
        CosNotifyChannelAdmin::StructuredProxyPullSupplier_var proxy =
            CosNotifyChannelAdmin::StructuredProxyPullSupplier::_narrow(supplier.in());
        proxy->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
        return proxy;
    }
    /// Wait until this number of events is in the queue of every consumer.
    static bool areQueued(std::size_t events) {
        return waitUntil([events] {
            const auto consumers = manager().Consumers();
            return std::all_of(consumers.begin(), consumers.end(),
                               [events](const auto& each) { return each.queued == events; });
        });
    }
    /// Return the next event. Fail the test if none arrives.
    StructuredEvent next() {
        StructuredEvent event;
        EXPECT_TRUE(waitUntil([&] {
            CORBA::Boolean hasEvent = false;
            const StructuredEvent_var pulled = proxy_->try_pull_structured_event(hasEvent);
            if (hasEvent)
                event = pulled.in();
            return static_cast<bool>(hasEvent);
        }));
        return event;
    }

    SuppilerMgrCallBack callBack_;
    CosNotifyChannelAdmin::StructuredProxyPullSupplier_var proxy_;
    std::optional<kelp::test::BaseOrb> orb_;
};

TEST_F(EventWay, KeepsTheOrderOfSingleEventsAndBatches) {
    start();
    StructuredEvent single = named("1");
    EXPECT_EQ(PushEvent(single), 0);
    std::list<StructuredEvent> batch{named("2"), named("3"), named("4")};
    EXPECT_EQ(PushEvents(batch), 0);
    for (const char* name : {"1", "2", "3", "4"})
        EXPECT_EQ(nameOf(next()), name);
}

TEST_F(EventWay, CopiesAnEventOnceForAllConsumers) {
    start();
    const auto another = connect();
    StructuredEvent event = longNamed();
    const kelp::test::CountedTexts names(kLongName);
    ASSERT_EQ(PushEvent(event), 0);
    ASSERT_TRUE(areQueued(1));
    EXPECT_EQ(names.copies(), 1u);
    EXPECT_EQ(nameOf(next()), nameOf(event));
}

TEST_F(EventWay, CopiesEachEventOfABatchOnceForAllConsumers) {
    start();
    const auto another = connect();
    std::list<StructuredEvent> batch{longNamed(), longNamed(), longNamed()};
    const kelp::test::CountedTexts names(kLongName);
    ASSERT_EQ(PushEvents(batch), 0);
    ASSERT_TRUE(areQueued(3));
    EXPECT_EQ(names.copies(), 3u);
    EXPECT_EQ(nameOf(next()), nameOf(batch.front()));
}

TEST_F(EventWay, DoesNotChangeTheCallersEvents) {
    start();
    std::list<StructuredEvent> batch{named("1"), named("2")};
    ASSERT_EQ(PushEvents(batch), 0);
    next();
    next();
    ASSERT_EQ(batch.size(), 2u);
    const char* value = nullptr;
    ASSERT_EQ(batch.back().filterable_data.length(), 1u);
    ASSERT_TRUE(batch.back().filterable_data[0].value >>= value);
    EXPECT_STREQ(value, "2");
    EXPECT_EQ(nameOf(batch.front()), "1");
}

TEST_F(EventWay, FillsAMissingNeTimeWithTheEmsTime) {
    start();
    StructuredEvent event = named("1");
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    test::addField(event, "neTime") <<= "";
    ASSERT_EQ(PushEvent(event), 0);
    const StructuredEvent got = next();
    ASSERT_EQ(got.filterable_data.length(), 2u);
    const char* neTime = nullptr;
    ASSERT_TRUE(got.filterable_data[1].value >>= neTime);
    EXPECT_STREQ(neTime, "1") << "its emsTime";
    ASSERT_TRUE(event.filterable_data[1].value >>= neTime);
    EXPECT_STREQ(neTime, "") << "the caller's event stays as it is";
}

TEST_F(EventWay, LeavesTheNeTimeEmptyWhenConfigured) {
    start("fill_ne_time = false\n");
    StructuredEvent event = named("1");
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    test::addField(event, "neTime") <<= "";
    ASSERT_EQ(PushEvent(event), 0);
    const StructuredEvent got = next();
    const char* neTime = nullptr;
    ASSERT_TRUE(got.filterable_data[1].value >>= neTime);
    EXPECT_STREQ(neTime, "");
}

TEST_F(EventWay, DeliversNothingForAnEmptyBatch) {
    start();
    std::list<StructuredEvent> none;
    EXPECT_EQ(PushEvents(none), 0);
    StructuredEvent single = named("after");
    EXPECT_EQ(PushEvent(single), 0);
    EXPECT_EQ(nameOf(next()), "after");
}

TEST_F(EventWay, DeliversTheHeartbeatThatTheChannelAsksFor) {
    start("[agent]\nHeartbeatEventType = 0\n");
    manager().RequestHeartbeat();
    const StructuredEvent event = next();
    EXPECT_STREQ(event.header.fixed_header.event_type.type_name.in(), "NT_HEARTBEAT");
    ASSERT_EQ(event.filterable_data.length(), 4u);
    const CORBA::TypeCode_var type = event.filterable_data[1].value.type();
    EXPECT_TRUE(type->equal(globaldefs::_tc_NVSList_T));
}

TEST_F(EventWay, BypassesTheAlarmLogForAHeartbeatAlarm) {
    const kelp::test::TemporaryDirectory state;
    ::setenv("STATE_DIRECTORY", state.path().c_str(), 1);
    start("alarm_log = true\n[ems]\nname = \"Kelp/EMS\"\n[agent]\nHeartbeatEventType = 1\n");
    manager().RequestHeartbeat();
    EXPECT_EQ(next().filterable_data.length(), 19u);
    EXPECT_TRUE(waitUntil([&] {
        std::ifstream file(state.path() / "alarms.log");
        const std::string log(std::istreambuf_iterator<char>(file), {});
        return log.find("\nobjectName=EMS=Kelp/EMS\\n\n") != std::string::npos &&
               log.find("\nnativeProbableCause=Heartbeat\n") != std::string::npos &&
               log.find("\nisClearable=TRUE\n") != std::string::npos;
    }));
    ::unsetenv("STATE_DIRECTORY");
}

}  // namespace
}  // namespace NS_KELPCORBA
