// Consumers of every kind at a real channel.

#include <thread>

#include "channel_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;
using testing::IsEmpty;

class Consumers : public ChannelFixture {};

TEST_F(Consumers, OfStructuredEventsGetThemInOrder) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), consumer);
    push(1, 20);
    ASSERT_TRUE(gets(consumer, 20));
    std::vector<std::string> expected;
    for (int i = 1; i <= 20; ++i)
        expected.push_back(std::to_string(i));
    EXPECT_EQ(consumer.names(), expected);
    const std::vector<ConsumerCounts> counts = channel().consumers();
    ASSERT_EQ(counts.size(), 1u);
    EXPECT_EQ(counts[0].sent, 20u);
    EXPECT_TRUE(kelp::test::waitUntil([&] { return channel().consumers()[0].delivered == 20; }));
}

TEST_F(Consumers, OfSequencesGetBatches) {
    SequenceConsumer& consumer = make<SequenceConsumer>();
    const ConsumerAdmin_var admin = consumers();
    const SequenceProxyPushSupplier_var proxy =
        pushProxy<SequenceProxyPushSupplier>(admin.in(), SEQUENCE_EVENT);
    proxy->set_qos(property(CosNotification::MaximumBatchSize, CORBA::Long(4)));
    proxy->set_qos(property(CosNotification::PacingInterval, CORBA::ULongLong(600'000'000'000)));
    const CORBA::Object_var object = remote(consumer);
    const CosNotifyComm::SequencePushConsumer_var reference =
        CosNotifyComm::SequencePushConsumer::_narrow(object.in());
    proxy->connect_sequence_push_consumer(reference.in());
    push(1, 9);
    ASSERT_TRUE(gets(consumer, 8));
    EXPECT_THAT(consumer.batches(), ElementsAre(4u, 4u)) << "the ninth waits for a full batch";
    EXPECT_THAT(consumer.names(), ElementsAre("1", "2", "3", "4", "5", "6", "7", "8"));
}

TEST_F(Consumers, OfAnyEventsGetStructuredEventsInAnAny) {
    AnyConsumer& consumer = make<AnyConsumer>();
    const ConsumerAdmin_var admin = consumers();
    const ProxyPushSupplier_var proxy = pushProxy<ProxyPushSupplier>(admin.in(), ANY_EVENT);
    const CORBA::Object_var object = remote(consumer);
    const CosNotifyComm::PushConsumer_var reference =
        CosNotifyComm::PushConsumer::_narrow(object.in());
    proxy->connect_any_push_consumer(reference.in());
    push(1, 2);
    ASSERT_TRUE(gets(consumer, 2));
    EXPECT_THAT(consumer.names(), ElementsAre("1", "2"));
}

TEST_F(Consumers, ThatPullGetWhatTheyAskFor) {
    const ConsumerAdmin_var admin = consumers();
    ProxyID id = 0;
    const ProxySupplier_var structured =
        admin->obtain_notification_pull_supplier(STRUCTURED_EVENT, id);
    const StructuredProxyPullSupplier_var one =
        StructuredProxyPullSupplier::_narrow(structured.in());
    const ProxySupplier_var sequence = admin->obtain_notification_pull_supplier(SEQUENCE_EVENT, id);
    const SequenceProxyPullSupplier_var many = SequenceProxyPullSupplier::_narrow(sequence.in());
    many->set_qos(property(CosNotification::MaximumBatchSize, CORBA::Long(10)));
    const ProxySupplier_var any = admin->obtain_notification_pull_supplier(ANY_EVENT, id);
    const ProxyPullSupplier_var anyOne = ProxyPullSupplier::_narrow(any.in());
    EXPECT_THROW(CosNotification::StructuredEvent_var(one->pull_structured_event()),
                 CosEventComm::Disconnected);
    one->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
    many->connect_sequence_pull_consumer(CosNotifyComm::SequencePullConsumer::_nil());
    anyOne->connect_any_pull_consumer(CosEventComm::PullConsumer::_nil());
    EXPECT_THROW(
        one->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil()),
        CosEventChannelAdmin::AlreadyConnected);

    CORBA::Boolean has = true;
    const CosNotification::StructuredEvent_var none = one->try_pull_structured_event(has);
    EXPECT_FALSE(has);
    push(1, 3);
    const CosNotification::StructuredEvent_var first = one->pull_structured_event();
    EXPECT_EQ(nameOf(first.in()), "1");
    const CosNotification::StructuredEvent_var second = one->try_pull_structured_event(has);
    EXPECT_TRUE(has);
    EXPECT_EQ(nameOf(second.in()), "2");
    const CosNotification::EventBatch_var batch = many->pull_structured_events(2);
    EXPECT_EQ(batch->length(), 2u);
    const CosNotification::EventBatch_var rest = many->try_pull_structured_events(10, has);
    EXPECT_EQ(rest->length(), 1u);
    EXPECT_THROW(CosNotification::EventBatch_var(many->pull_structured_events(0)),
                 CORBA::BAD_PARAM);
    const CORBA::Any_var wrapped = anyOne->pull();
    const CosNotification::StructuredEvent* unwrapped = nullptr;
    ASSERT_TRUE(wrapped.in() >>= unwrapped);
    EXPECT_EQ(nameOf(*unwrapped), "1");
}

TEST_F(Consumers, ThatWaitInAPullLearnThatTheChannelStops) {
    const ConsumerAdmin_var admin = consumers();
    ProxyID id = 0;
    const ProxySupplier_var proxy = admin->obtain_notification_pull_supplier(STRUCTURED_EVENT, id);
    const StructuredProxyPullSupplier_var supplier =
        StructuredProxyPullSupplier::_narrow(proxy.in());
    supplier->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
    std::string outcome;
    std::thread puller([&] {
        try {
            const CosNotification::StructuredEvent_var first = supplier->pull_structured_event();
            const CosNotification::StructuredEvent_var second = supplier->pull_structured_event();
            outcome = "an event";
        } catch (const CosEventComm::Disconnected&) {
            outcome = "Disconnected";
        }
    });
    push(1, 1);
    EXPECT_TRUE(kelp::test::waitUntil([&] { return channel().consumers()[0].delivered == 1; }));
    channel().stop();
    puller.join();
    EXPECT_EQ(outcome, "Disconnected");
}

TEST_F(Consumers, AreConnectedOnceAndNotNil) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    EXPECT_THROW(
        proxy->connect_structured_push_consumer(CosNotifyComm::StructuredPushConsumer::_nil()),
        CORBA::BAD_PARAM);
    connect(proxy.in(), consumer);
    const CosNotifyComm::StructuredPushConsumer_var again = consumer._this();
    EXPECT_THROW(proxy->connect_structured_push_consumer(again.in()),
                 CosEventChannelAdmin::AlreadyConnected);
}

TEST_F(Consumers, AreSuspendedAndResumed) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    EXPECT_THROW(proxy->suspend_connection(), NotConnected);
    EXPECT_THROW(proxy->resume_connection(), NotConnected);
    connect(proxy.in(), consumer);
    EXPECT_THROW(proxy->resume_connection(), ConnectionAlreadyActive);
    proxy->suspend_connection();
    EXPECT_THROW(proxy->suspend_connection(), ConnectionAlreadyInactive);
    push(1, 3);
    EXPECT_THAT(consumer.names(), IsEmpty());
    proxy->resume_connection();
    ASSERT_TRUE(gets(consumer, 3));
    EXPECT_THAT(consumer.names(), ElementsAre("1", "2", "3"));
}

TEST_F(Consumers, GetTheTypesTheySubscribeTo) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), consumer);
    proxy->subscription_change(types("tmf_mtnm", "NT_HEARTBEAT"), CosNotification::EventTypeSeq());
    channel().push(event("alarm"));
    channel().push(event("heartbeat", "NT_HEARTBEAT"));
    ASSERT_TRUE(gets(consumer, 1));
    EXPECT_THAT(consumer.names(), ElementsAre("heartbeat"));
    EXPECT_THROW(proxy->subscription_change(types("tmf_mtnm", ""), CosNotification::EventTypeSeq()),
                 CosNotifyComm::InvalidEventType);
}

TEST_F(Consumers, ThatDisconnectAreGone) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    ProxyID id = 0;
    const StructuredProxyPushSupplier_var proxy = structuredProxy(&id);
    connect(proxy.in(), consumer);
    proxy->disconnect_structured_push_supplier();
    EXPECT_THAT(channel().consumers(), IsEmpty());
    EXPECT_THROW(proxy->suspend_connection(), CORBA::OBJECT_NOT_EXIST);
    const ConsumerAdmin_var admin = consumers();
    EXPECT_THROW(ProxySupplier_var(admin->get_proxy_supplier(id)), ProxyNotFound);
    push(1, 1);
    EXPECT_FALSE(consumer.ended()) << "it has said so itself";
    EXPECT_THAT(losses_.lost.names(), IsEmpty());
}

TEST_F(Consumers, WhoseObjectIsGoneAreRemovedAndTheirEventsLost) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), consumer);
    deactivate(&consumer);
    push(1, 1);
    EXPECT_TRUE(kelp::test::waitUntil([&] { return channel().consumers().empty(); }));
    EXPECT_TRUE(kelp::test::waitUntil([&] { return losses_.lost.names().size() == 1; }));
    EXPECT_THAT(losses_.lost.names(), ElementsAre("1"));
    EXPECT_TRUE(kelp::test::waitUntil([&] { return proxy->_non_existent(); }));
}

TEST_F(Consumers, WithASmallQueueLoseTheOldestEvents) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    proxy->set_qos(property(CosNotification::MaxEventsPerConsumer, CORBA::Long(2)));
    connect(proxy.in(), consumer);
    proxy->suspend_connection();
    push(1, 5);
    EXPECT_THAT(losses_.lost.names(), IsEmpty()) << "it wanted no more";
    EXPECT_EQ(channel().consumers()[0].lost, 3u);
    EXPECT_EQ(channel().consumers()[0].lostByOwnLimits, 3u);
    proxy->resume_connection();
    ASSERT_TRUE(gets(consumer, 2));
    EXPECT_THAT(consumer.names(), ElementsAre("4", "5"));
}

TEST_F(Consumers, LoseTheOldestEventsBeyondTheConfiguredQueue) {
    settings_.queueEventsMax = 2;
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    proxy->set_qos(property(CosNotification::MaxEventsPerConsumer, CORBA::Long(2)));
    connect(proxy.in(), consumer);
    proxy->suspend_connection();
    push(1, 5);
    EXPECT_THAT(losses_.lost.names(), ElementsAre("1", "2", "3"));
    EXPECT_EQ(channel().consumers()[0].lostByOwnLimits, 0u);
    EXPECT_TRUE(channel().isDrained()) << "a suspended consumer holds nobody up";
    proxy->resume_connection();
    ASSERT_TRUE(gets(consumer, 2));
    EXPECT_THAT(consumer.names(), ElementsAre("4", "5"));
}

TEST_F(Consumers, ThatFailDelayNobody) {
    settings_.delivery.pushTimeout = std::chrono::milliseconds(200);
    StructuredConsumer& healthy = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var good = structuredProxy();
    connect(good.in(), healthy);
    const StructuredProxyPushSupplier_var bad = structuredProxy();
    // nobody listens at this address
    const CORBA::Object_var nobody =
        kelp::orb::toReference(orb_.orb(), "corbaloc:iiop:1.2@127.0.0.1:1/nobody");
    const CosNotifyComm::StructuredPushConsumer_var away =
        CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(nobody.in());
    bad->connect_structured_push_consumer(away.in());
    push(1, 10);
    ASSERT_TRUE(gets(healthy, 10));
    EXPECT_TRUE(kelp::test::waitUntil([&] {
        const std::vector<ConsumerCounts> counts = channel().consumers();
        return !counts[1].answers && counts[1].failures > 1;
    }));
    const ConsumerCounts counts = channel().consumers()[1];
    EXPECT_EQ(counts.queued, 10u);
    EXPECT_EQ(counts.sent, counts.delivered + counts.lost + counts.queued);
    EXPECT_FALSE(counts.lastError.empty());
}

}  // namespace
}  // namespace kelp::notification::test
