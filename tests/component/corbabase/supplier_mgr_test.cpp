// The path of an event from PushEvent to a consumer, and what is reported to the agent meanwhile.

#include <gmock/gmock.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>

#include <atomic>
#include <fstream>
#include <mutex>
#include <sstream>
#include <thread>

#include "base_orb.h"
#include "event_doubles.h"
#include "support/latch.h"
#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

using CosNotifyChannelAdmin::ConsumerAdmin_var;
using CosNotifyChannelAdmin::EventChannel_var;
using CosNotifyChannelAdmin::ProxySupplier_var;
using CosNotifyChannelAdmin::StructuredProxyPushSupplier;
using CosNotifyChannelAdmin::StructuredProxyPushSupplier_var;
using NS_CORBA::SuppilerMgr;
using testing::ElementsAre;
using testing::IsEmpty;

class SupplierMgr : public testing::Test {
  protected:
    ~SupplierMgr() override {
        manager().ExitThread();
        SuppilerMgr::Destroy();
        NS_CORBA::EventMgr::Destroy();
        orb_.reset();
        consumer_->_remove_ref();
    }
    void start(const std::string& notification = "heartbeat_s = 0\n") {
        orb_ =
            std::make_unique<BaseOrb>(std::string(kFreePort) + "[notification]\n" + notification);
        ASSERT_EQ(NS_CORBA::AgentServer::Activate(), 0);
        manager().SetCallBack(&agent_);
        ASSERT_EQ(manager().Start(0), 0);
    }
    static SuppilerMgr& manager() { return *SuppilerMgr::Instance(); }

    StructuredProxyPushSupplier_var connect() {
        const EventChannel_var channel = NS_CORBA::EventMgr::Instance()->GetEventChannel();
        const ConsumerAdmin_var admin = channel->default_consumer_admin();
        CosNotifyChannelAdmin::ProxyID id = 0;
        const ProxySupplier_var proxy =
            admin->obtain_notification_push_supplier(CosNotifyChannelAdmin::STRUCTURED_EVENT, id);
        StructuredProxyPushSupplier_var structured =
            StructuredProxyPushSupplier::_narrow(proxy.in());
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::ObjectId_var objectId = root->activate_object(consumer_);
        const CORBA::Object_var object = root->id_to_reference(objectId.in());
        const CosNotifyComm::StructuredPushConsumer_var reference =
            CosNotifyComm::StructuredPushConsumer::_narrow(object.in());
        structured->connect_structured_push_consumer(reference.in());
        return structured;
    }
    static void push(int first, int last) {
        for (int i = first; i <= last; ++i) {
            CosNotification::StructuredEvent event = alarm(std::to_string(i));
            ASSERT_EQ(manager().PushEvent(event), 0);
        }
    }
    bool gets(std::size_t count) {
        return waitUntil([&] { return consumer_->names().size() >= count; });
    }
    bool isTold(std::size_t count) {
        return waitUntil([&] { return agent_.told().size() >= count; });
    }

    Agent agent_;
    Consumer* consumer_ = new Consumer;
    std::unique_ptr<BaseOrb> orb_;
};

TEST_F(SupplierMgr, DeliversEventsInOrder) {
    start();
    const StructuredProxyPushSupplier_var proxy = connect();
    push(1, 2);
    std::vector<CosNotification::StructuredEvent> batch{alarm("3"), alarm("4")};
    EXPECT_EQ(manager().PushEvents(batch), 0);
    batch.clear();
    EXPECT_EQ(manager().PushEvents(batch), 0);
    ASSERT_TRUE(gets(4));
    EXPECT_THAT(consumer_->names(), ElementsAre("1", "2", "3", "4"));
    ASSERT_EQ(manager().Consumers().size(), 1u);
    EXPECT_EQ(manager().Consumers()[0].sent, 4u);
}

TEST_F(SupplierMgr, RefusesEventsWithoutAChannel) {
    CosNotification::StructuredEvent event;
    EXPECT_EQ(manager().PushEvent(event), -1);
    start();
    EXPECT_EQ(manager().PushEvent(event), 0);
    EXPECT_EQ(manager().Start(0), 0) << "it runs";
    manager().ExitThread();
    EXPECT_EQ(manager().PushEvent(event), -1);
    EXPECT_THAT(manager().Consumers(), IsEmpty());
    const EventChannel_var none = NS_CORBA::EventMgr::Instance()->GetEventChannel();
    EXPECT_TRUE(CORBA::is_nil(none.in()));
}

TEST_F(SupplierMgr, AsksForAHeartbeatOnRequest) {
    start();
    manager().RequestHeartbeat();
    ASSERT_TRUE(isTold(1));
    EXPECT_THAT(agent_.told(), ElementsAre("heartbeat"));
}

TEST_F(SupplierMgr, AsksForHeartbeatsByItsTimer) {
    start("heartbeat_s = 1\n");
    EXPECT_TRUE(isTold(2));
}

TEST_F(SupplierMgr, ReportsALossOnceAndItsEndAfterAWholeRound) {
    start("heartbeat_s = 0\nqueue_events_max = 4\n");
    const StructuredProxyPushSupplier_var proxy = connect();
    proxy->suspend_connection();
    // one at a time, because the hand-over queue has the same limit
    for (int i = 1; i <= 7; ++i) {
        push(i, i);
        ASSERT_TRUE(waitUntil(
            [&] { return manager().Consumers()[0].sent == static_cast<std::uint64_t>(i); }));
    }
    ASSERT_TRUE(isTold(1));
    EXPECT_THAT(agent_.told(), ElementsAre("lost id1 of 20240105030405.0Z"));
    proxy->resume_connection();
    ASSERT_TRUE(gets(4));
    manager().check_channel_valid();
    EXPECT_EQ(agent_.told().size(), 1u) << "a round has begun, none has passed";
    manager().check_channel_valid();
    ASSERT_TRUE(isTold(2));
    EXPECT_EQ(agent_.told()[1].rfind("cleared 20", 0), 0u);
    manager().check_channel_valid();
    EXPECT_EQ(agent_.told().size(), 2u);
}

TEST_F(SupplierMgr, ReportsALossOfTheHandoversOwnQueue) {
    start("heartbeat_s = 0\nqueue_events_max = 2\n");
    std::vector<CosNotification::StructuredEvent> batch{alarm("1"), alarm("2"), alarm("3")};
    EXPECT_EQ(manager().PushEvents(batch), 0);
    ASSERT_TRUE(isTold(1));
    EXPECT_THAT(agent_.told(), ElementsAre("lost id1 of 20240105030405.0Z"));
}

TEST_F(SupplierMgr, ReportsALossThatBeginsDuringTheReportOfAnEndAfterIt) {
    Latch gate;
    agent_.onCleared = [&] { gate.pass(); };
    start("heartbeat_s = 0\nqueue_events_max = 2\n");
    std::vector<CosNotification::StructuredEvent> batch{alarm("1"), alarm("2"), alarm("3")};
    EXPECT_EQ(manager().PushEvents(batch), 0);
    ASSERT_TRUE(isTold(1));
    std::thread rounds([&] {
        EXPECT_TRUE(waitUntil([&] {
            manager().check_channel_valid();
            return agent_.told().size() > 1;
        }));
    });
    ASSERT_TRUE(gate.isReached());
    batch = {alarm("4"), alarm("5"), alarm("6")};
    EXPECT_EQ(manager().PushEvents(batch), 0);
    gate.open();
    rounds.join();
    ASSERT_TRUE(isTold(3)) << "the second loss is reported too";
    EXPECT_EQ(agent_.told()[0], "lost id1 of 20240105030405.0Z");
    EXPECT_EQ(agent_.told()[1].rfind("cleared 20", 0), 0u);
    EXPECT_EQ(agent_.told()[2].rfind("lost id", 0), 0u);
}

TEST_F(SupplierMgr, WritesAlarmsToTheAlarmLogWhenThatIsOn) {
    const TemporaryDirectory state;
    ::setenv("STATE_DIRECTORY", state.path().c_str(), 1);
    start("heartbeat_s = 0\nalarm_log = true\n");
    push(1, 1);
    CosNotification::StructuredEvent heartbeat = alarm("other", "NT_HEARTBEAT");
    manager().PushEvent(heartbeat);
    push(2, 2);
    const auto content = [&] {
        std::ifstream file(state.path() / "alarms.log");
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    EXPECT_TRUE(waitUntil([&] { return content().find("event=2\n") != std::string::npos; }));
    EXPECT_NE(content().find("event=1\n"), std::string::npos);
    EXPECT_EQ(content().find("other"), std::string::npos) << "no alarm";
    ::unsetenv("STATE_DIRECTORY");
}

TEST_F(SupplierMgr, WritesEveryAlarmOfALongBatchToTheAlarmLog) {
    const TemporaryDirectory state;
    const ScopedEnvironment environment("STATE_DIRECTORY", state.path().c_str());
    start("heartbeat_s = 0\nalarm_log = true\nqueue_events_max = 100\n");
    constexpr std::size_t kAlarms = 10000;
    std::vector<CosNotification::StructuredEvent> batch;
    for (std::size_t i = 1; i <= kAlarms; ++i)
        batch.push_back(alarm(std::to_string(i)));
    EXPECT_EQ(manager().PushEvents(batch), 0);
    manager().ExitThread();
    std::istringstream log(contentOf(state / "alarms.log"));
    std::size_t written = 0;
    for (std::string line; std::getline(log, line);) {
        if (line == "event=" + std::to_string(written + 1))
            ++written;
    }
    EXPECT_EQ(written, kAlarms) << "in order, those that did not fit into the queue among them";
    EXPECT_THAT(agent_.told(), ElementsAre("lost id1 of 20240105030405.0Z"));
}

TEST_F(SupplierMgr, RefusesEventsOnceItsStopHasBegun) {
    start();
    std::atomic<int> refused{0};
    std::atomic<bool> ended{false};
    std::thread pusher([&] {
        CosNotification::StructuredEvent event = alarm("1");
        while (!ended)
            refused += manager().PushEvent(event) == -1;
    });
    EXPECT_TRUE(manager().check_channel_valid());
    manager().ExitThread();
    EXPECT_TRUE(waitUntil([&] { return refused > 0; }));
    ended = true;
    pusher.join();
    EXPECT_FALSE(manager().check_channel_valid());
}

TEST(FormatLog, WritesOneEscapedLinePerEntry) {
    std::stringstream out;
    SuppilerMgr::FormatLog("name", std::string("a=b\nc\\d\te\x01"), out);
    SuppilerMgr::FormatLog("number", -7, out);
    SuppilerMgr::FormatLog("empty", std::string(), out);
    EXPECT_EQ(out.str(), "name=a=b\\nc\\\\d\\te\\x01\nnumber=-7\nempty=\n");
}

}  // namespace
}  // namespace kelp::test
