// The supplier manager with an external notification service that is found, lost, hangs, refuses or
// moves.

#include <gmock/gmock.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/notification/channel.h>
#include <kelp/orb/orb.h>

#include <atomic>
#include <future>
#include <optional>

#include "base_orb.h"
#include "event_doubles.h"
#include "scripted_interceptor.h"
#include "scripted_service.h"
#include "support/channel_servant.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

using namespace CosNotifyChannelAdmin;
using NS_CORBA::SuppilerMgr;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kKey = "NotificationService";

/// A factory with the channels that a test gives it.
class Factory final : public POA_CosNotifyChannelAdmin::EventChannelFactory {
  public:
    EventChannel_ptr create_channel(const CosNotification::QoSProperties&,
                                    const CosNotification::AdminProperties&,
                                    ChannelID_out id) override {
        id = 7;
        ++created;
        return EventChannel::_duplicate(spare.in());
    }
    ChannelIDSeq* get_all_channels() override {
        ChannelIDSeq_var ids = new ChannelIDSeq;
        for (const auto& [id, channel] : channels) {
            ids->length(ids->length() + 1);
            ids[ids->length() - 1] = id;
        }
        return ids._retn();
    }
    EventChannel_ptr get_event_channel(ChannelID id) override {
        for (const auto& [number, channel] : channels) {
            if (number == id)
                return EventChannel::_duplicate(channel.in());
        }
        throw ChannelNotFound();
    }

    std::vector<std::pair<ChannelID, EventChannel_var>> channels;
    EventChannel_var spare;
    std::atomic<int> created{0};
};

/// The service is an object of this process's ORB, which the supplier manager calls over a
/// connection.
class ExternalChannel : public testing::Test {
  protected:
    ExternalChannel() {
        orb_ = std::make_unique<BaseOrb>("[orb]\nlisten = \"127.0.0.1:" + std::to_string(port_) +
                                         "\"\n");
        base().SetReqInterceptorImpl(&interceptor_);
        EXPECT_EQ(NS_CORBA::AgentServer::Activate(), 0);
        service_.emplace();
    }
    ~ExternalChannel() override {
        service_->setScript({});
        manager().ExitThread();
        takeAway();
        SuppilerMgr::Destroy();
        NS_CORBA::EventMgr::Destroy();
        base().SetReqInterceptorImpl(nullptr);
        orb_.reset();
        consumer_->_remove_ref();
    }
    static SuppilerMgr& manager() { return *SuppilerMgr::Instance(); }

    void locate(const std::string& host, std::uint16_t port, const std::string& more = "") const {
        configure(
            "[notification]\nmode = \"external\"\nheartbeat_s = 0\npush_timeout_s = 1\nhost = \"" +
            host + "\"\nport = " + std::to_string(port) + "\n" + more);
        base().UpdateNotifyServiceParams(nullptr);
    }
    void start(const std::string& more = "") {
        locate("127.1", port_, more);
        startManager();
    }
    void startManager() {
        manager().SetCallBack(&agent_);
        ASSERT_EQ(manager().Start(0), 0);
    }

    /// Create a channel to which the consumer is connected, but which others cannot find yet.
    void makeChannel() {
        const CORBA::ORB_var orb = base().GetOrb();
        channel_.emplace(orb.in(), notification::ChannelSettings(), nullptr);
        const EventChannel_var reference = channel_->reference();
        const ConsumerAdmin_var admin = reference->default_consumer_admin();
        ProxyID id = 0;
        const ProxySupplier_var proxy =
            admin->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
        const StructuredProxyPushSupplier_var structured =
            StructuredProxyPushSupplier::_narrow(proxy.in());
        const CORBA::Object_var object = consumer_->_this();
        const CosNotifyComm::StructuredPushConsumer_var consumer =
            CosNotifyComm::StructuredPushConsumer::_narrow(object.in());
        structured->connect_structured_push_consumer(consumer.in());
    }
    void publish() {
        const EventChannel_var reference = channel_->reference();
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::ServantBase_var servant = channelServant(root.in(), reference.in());
        publish(servant.in(), reference.in());
    }
    void publish(PortableServer::Servant servant, CORBA::Object_ptr target) {
        const CORBA::ORB_var orb = base().GetOrb();
        orb::publishKey(orb.in(), kKey, servant, target);
    }
    void serve() {
        makeChannel();
        publish();
    }
    /// Publish the scripted service instead of a real one.
    void serveScripted() { publish(service_->channelServant(), service_->channel()); }
    void withdraw() {
        const CORBA::ORB_var orb = base().GetOrb();
        orb::withdrawKey(orb.in(), kKey);
    }
    void takeAway() {
        withdraw();
        channel_.reset();
    }
    CORBA::ULong suppliers() {
        const EventChannel_var reference = channel_->reference();
        const SupplierAdmin_var admin = reference->default_supplier_admin();
        const ProxyIDSeq_var ids = admin->push_consumers();
        return ids->length();
    }

    static void push(int first, int last) {
        for (int i = first; i <= last; ++i) {
            CosNotification::StructuredEvent event = alarm(std::to_string(i));
            ASSERT_EQ(manager().PushEvent(event), 0);
        }
    }
    bool gets(const std::string& name) {
        return waitUntil([&] { return testing::Matches(Contains(name))(consumer_->names()); });
    }
    bool serviceGets(const std::string& name) {
        return waitUntil([&] { return testing::Matches(Contains(name))(service_->names()); });
    }
    static bool isConnected() {
        return waitUntil([] { return manager().check_channel_valid(); });
    }

    const std::uint16_t port_ = freePort();
    Agent agent_;
    Consumer* consumer_ = new Consumer;
    std::optional<notification::Channel> channel_;
    TraceCapture trace_;

    std::optional<ScriptedService> service_;
    std::atomic<int> probesToBreak_{0};

  private:
    ScriptedInterceptor interceptor_{[this](const orb::RequestInfo* ri) {
        const CORBA::String_var operation = ri->operation();
        if (operation.in() == std::string("_non_existent") && probesToBreak_ > 0) {
            --probesToBreak_;
            throw CORBA::COMM_FAILURE(0, CORBA::COMPLETED_MAYBE);
        }
    }};
    std::unique_ptr<BaseOrb> orb_;
};

TEST_F(ExternalChannel, GetsEventsInOrderAndIsHandedOutUnderItsOwnName) {
    serve();
    start();
    push(1, 120);
    ASSERT_TRUE(gets("120"));
    const std::vector<std::string> names = consumer_->names();
    ASSERT_THAT(names, SizeIs(120));
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(names[i], std::to_string(i + 1));
    const EventChannel_var handedOut = NS_CORBA::EventMgr::Instance()->GetEventChannel();
    const EventChannel_var own = channel_->reference();
    EXPECT_TRUE(handedOut->_is_equivalent(own.in())) << "not the address that it was found by";
    EXPECT_THAT(manager().Consumers(), IsEmpty());
}

TEST_F(ExternalChannel, IsDisconnectedAtTheStop) {
    serve();
    start();
    ASSERT_TRUE(isConnected());
    EXPECT_EQ(suppliers(), 1u);
    manager().ExitThread();
    EXPECT_EQ(suppliers(), 0u);
    const EventChannel_var none = NS_CORBA::EventMgr::Instance()->GetEventChannel();
    EXPECT_TRUE(CORBA::is_nil(none.in()));
    CosNotification::StructuredEvent event = alarm("late");
    EXPECT_EQ(manager().PushEvent(event), -1);
}

TEST_F(ExternalChannel, EventsWaitUntilItIsAvailable) {
    start();
    push(1, 3);
    EXPECT_TRUE(trace_.waitFor("No events reach the notification service corbaloc:iiop:1.2@127.1:" +
                               std::to_string(port_) + "/NotificationService: OBJECT_NOT_EXIST"));
    EXPECT_FALSE(manager().check_channel_valid());
    serve();
    ASSERT_TRUE(gets("3"));
    EXPECT_THAT(consumer_->names(), ElementsAre("1", "2", "3"));
    EXPECT_TRUE(isConnected());
    EXPECT_THAT(agent_.told(), IsEmpty());
}

TEST_F(ExternalChannel, RestartIsSurvivedAndItsLossReportedAndClearedOnce) {
    serve();
    start("queue_events_max = 4\n");
    push(1, 1);
    ASSERT_TRUE(gets("1"));
    takeAway();
    ASSERT_TRUE(waitUntil([] { return !manager().check_channel_valid(); }));
    push(2, 9);
    EXPECT_THAT(agent_.told(), ElementsAre("lost id2 of 20240105030405.0Z"));
    for (int round = 0; round < 3; ++round)
        manager().check_channel_valid();
    EXPECT_THAT(agent_.told(), SizeIs(1)) << "it is away";
    serve();
    ASSERT_TRUE(gets("9"));
    EXPECT_THAT(consumer_->names(), ElementsAre("1", "6", "7", "8", "9"));
    ASSERT_TRUE(waitUntil([&] {
        manager().check_channel_valid();
        return agent_.told().size() > 1;
    }));
    EXPECT_THAT(agent_.told(),
                ElementsAre("lost id2 of 20240105030405.0Z", testing::StartsWith("cleared 20")));
    push(10, 10);
    ASSERT_TRUE(gets("10"));
    manager().check_channel_valid();
    manager().check_channel_valid();
    EXPECT_THAT(agent_.told(), SizeIs(2));
    const EventChannel_var handedOut = NS_CORBA::EventMgr::Instance()->GetEventChannel();
    const EventChannel_var own = channel_->reference();
    EXPECT_TRUE(handedOut->_is_equivalent(own.in())) << "the new one";
}

TEST_F(ExternalChannel, IdleChannelThatHasGoneIsDetectedByTheRounds) {
    serve();
    start();
    ASSERT_TRUE(isConnected());
    takeAway();
    EXPECT_TRUE(waitUntil([] { return !manager().check_channel_valid(); }));
    serve();
    EXPECT_TRUE(isConnected());
}

TEST_F(ExternalChannel, ProxyIsKeptWhenOnlyTheConnectionBroke) {
    serveScripted();
    start();
    ASSERT_TRUE(isConnected());
    probesToBreak_ = 1;
    ASSERT_TRUE(waitUntil([] { return !manager().check_channel_valid(); }));
    EXPECT_TRUE(isConnected());
    EXPECT_EQ(probesToBreak_, 0);
    EXPECT_EQ(service_->calls("obtain sequence"), 1);
}

TEST_F(ExternalChannel, GetsWaitingEventsInBatches) {
    start();
    push(1, 120);
    serveScripted();
    ASSERT_TRUE(serviceGets("120"));
    EXPECT_THAT(service_->names(), SizeIs(120));
    EXPECT_THAT(service_->pushes(), ElementsAre(SizeIs(50), SizeIs(50), SizeIs(20)));
}

TEST_F(ExternalChannel, PushWithoutAnAnswerIsRepeatedByTheSameProxyOnceItAnswers) {
    std::promise<void> go;
    const std::shared_future<void> released = go.get_future().share();
    service_->setScript([&, released](const std::string& operation) {
        if (operation == "push" && service_->calls(operation) == 1)
            released.wait_for(std::chrono::seconds(60));
    });
    serveScripted();
    start();
    push(1, 1);
    ASSERT_TRUE(waitUntil([&] { return service_->calls("push") == 1; }));
    push(2, 2);
    ASSERT_TRUE(serviceGets("2"));
    EXPECT_THAT(service_->names(), ElementsAre("1", "2"));
    EXPECT_TRUE(trace_.contains("/NotificationService: TIMEOUT") ||
                trace_.contains("/NotificationService: TRANSIENT"));
    EXPECT_TRUE(trace_.contains("answers again"));
    EXPECT_EQ(service_->calls("obtain sequence"), 1);
    go.set_value();
    EXPECT_TRUE(waitUntil([&] { return service_->names().size() == 3; }))
        << "the first try arrived late";
    EXPECT_THAT(agent_.told(), IsEmpty());
}

TEST_F(ExternalChannel, RefusedEventIsLostAndTheOthersOfItsBatchAreNot) {
    service_->setScript([&](const std::string& operation) {
        // refuse the batch, and then the second event when it is sent alone
        if (operation == "push" &&
            (service_->calls(operation) == 1 || service_->calls(operation) == 3))
            throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    });
    start();
    push(1, 4);
    serveScripted();
    ASSERT_TRUE(serviceGets("4"));
    EXPECT_THAT(service_->names(), ElementsAre("1", "3", "4"));
    EXPECT_THAT(agent_.told(), ElementsAre("lost id2 of 20240105030405.0Z"));
    EXPECT_TRUE(trace_.contains("/NotificationService refuses events: BAD_PARAM"));
    EXPECT_TRUE(manager().check_channel_valid()) << "a refusal is an answer";
}

TEST_F(ExternalChannel, ThatRefusesEveryEventIsTracedOnce) {
    service_->setScript([&](const std::string& operation) {
        if (operation == "push" && service_->calls(operation) <= 5)
            throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
    });
    serveScripted();
    start();
    ASSERT_TRUE(isConnected());
    for (int i = 1; i <= 6; ++i) {
        push(i, i);
        ASSERT_TRUE(waitUntil([&] { return service_->calls("push") == i; }));
    }
    ASSERT_TRUE(serviceGets("6"));
    EXPECT_EQ(trace_.count("refuses events"), 1u);
    EXPECT_THAT(agent_.told(), ElementsAre("lost id1 of 20240105030405.0Z"));
}

TEST_F(ExternalChannel, FullChannelIsRetried) {
    service_->setScript([&](const std::string& operation) {
        if (operation == "push" && service_->calls(operation) == 1)
            throw CORBA::IMP_LIMIT(0, CORBA::COMPLETED_NO);
    });
    serveScripted();
    start();
    push(1, 1);
    ASSERT_TRUE(serviceGets("1"));
    EXPECT_EQ(service_->calls("push"), 2);
    EXPECT_THAT(agent_.told(), IsEmpty());
}

TEST_F(ExternalChannel, ThatRefusesSequencesGetsSingleEvents) {
    service_->setScript([&](const std::string& operation) {
        if (operation == "obtain sequence")
            throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
    });
    serveScripted();
    start();
    push(1, 3);
    ASSERT_TRUE(serviceGets("3"));
    EXPECT_THAT(service_->names(), ElementsAre("1", "2", "3"));
    EXPECT_EQ(service_->calls("push_structured_event"), 3);
    manager().ExitThread();
    EXPECT_EQ(service_->calls("disconnect_structured_push_consumer"), 1);
}

TEST_F(ExternalChannel, ThatRefusesSuppliersForNowIsRetried) {
    service_->setScript([&](const std::string& operation) {
        if (operation == "obtain sequence" && service_->calls(operation) == 1)
            throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    });
    serveScripted();
    start();
    push(1, 1);
    ASSERT_TRUE(serviceGets("1"));
    EXPECT_EQ(service_->calls("obtain structured"), 0);
}

TEST_F(ExternalChannel, ThatHangsInAPushIsNotDisconnectedAndDelaysTheStopByOneTimeoutAtMost) {
    std::promise<void> go;
    const std::shared_future<void> released = go.get_future().share();
    service_->setScript([&, released](const std::string& operation) {
        if (operation == "push")
            released.wait_for(std::chrono::seconds(60));
    });
    serveScripted();
    start();
    push(1, 1);
    ASSERT_TRUE(waitUntil([&] { return service_->calls("push") == 1; }));
    auto stopped = std::async(std::launch::async, [] { manager().ExitThread(); });
    EXPECT_EQ(stopped.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(service_->calls("disconnect_sequence_push_consumer"), 0);
    go.set_value();
}

TEST_F(ExternalChannel, ThatDisconnectsTheSupplierIsReconnected) {
    serve();
    start();
    push(1, 1);
    ASSERT_TRUE(gets("1"));
    const EventChannel_var reference = channel_->reference();
    const SupplierAdmin_var admin = reference->default_supplier_admin();
    const ProxyIDSeq_var ids = admin->push_consumers();
    const ProxyConsumer_var proxy = admin->get_proxy_consumer(ids.in()[0]);
    const SequenceProxyPushConsumer_var sequence = SequenceProxyPushConsumer::_narrow(proxy.in());
    sequence->disconnect_sequence_push_consumer();
    push(2, 2);
    ASSERT_TRUE(gets("2"));
    EXPECT_EQ(suppliers(), 1u);
}

TEST_F(ExternalChannel, IsTheOldestOfAFactory) {
    makeChannel();
    auto* const factory = new Factory;
    const PortableServer::ServantBase_var keeper(factory);
    const EventChannel_var own = channel_->reference();
    factory->channels.emplace_back(9, EventChannel::_nil());
    factory->channels.emplace_back(3, EventChannel::_duplicate(own.in()));
    const CORBA::Object_var target = factory->_this();
    publish(factory, target.in());
    start();
    push(1, 1);
    ASSERT_TRUE(gets("1"));
    EXPECT_EQ(factory->created, 0);
}

TEST_F(ExternalChannel, IsMadeByAFactoryThatHasNone) {
    makeChannel();
    auto* const factory = new Factory;
    const PortableServer::ServantBase_var keeper(factory);
    factory->spare = channel_->reference();
    const CORBA::Object_var target = factory->_this();
    publish(factory, target.in());
    start();
    push(1, 1);
    ASSERT_TRUE(gets("1"));
    EXPECT_EQ(factory->created, 1);
}

TEST_F(ExternalChannel, ObjectOfAnotherKindIsNamedInTheTrace) {
    const PortableServer::ServantBase_var keeper(consumer_);
    consumer_->_add_ref();
    const CORBA::Object_var target = consumer_->_this();
    publish(consumer_, target.in());
    start();
    EXPECT_TRUE(trace_.waitFor("neither an EventChannel nor an EventChannelFactory"));
    EXPECT_FALSE(manager().check_channel_valid());
}

TEST_F(ExternalChannel, IsFoundAtTheAddressThatAReloadSets) {
    serve();
    locate("127.0.0.1", DeafListener().port());
    startManager();
    push(1, 1);
    EXPECT_TRUE(trace_.waitFor("No events reach the notification service"));
    locate("127.1", port_);
    ASSERT_TRUE(gets("1"));
    locate("127.0.1", port_);
    push(2, 2);
    ASSERT_TRUE(gets("2"));
    EXPECT_TRUE(trace_.waitFor("Connected to the notification service corbaloc:iiop:1.2@127.0.1:"));
    EXPECT_TRUE(waitUntil([&] { return suppliers() == 1; })) << "the old place is left";
}

TEST_F(ExternalChannel, ThatHangsDelaysNeitherEventsNorTheStop) {
    const DeafListener deaf;
    locate("127.0.0.1", deaf.port(), "queue_events_max = 10\n");
    startManager();
    push(1, 30);
    EXPECT_THAT(agent_.told(), ElementsAre(testing::StartsWith("lost id")));
    EXPECT_FALSE(manager().check_channel_valid());
    auto stopped = std::async(std::launch::async, [] { manager().ExitThread(); });
    EXPECT_EQ(stopped.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_TRUE(trace_.contains("10 events had not reached the channel when it was taken away"));
}

}  // namespace
}  // namespace kelp::test
