// Consumers are notified of the types that suppliers offer.

#include <future>
#include <random>

#include "changes_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;
using testing::IsEmpty;

class Offers : public ChangesFixture {};

TEST_F(Offers, AreSentToAConsumerThatHasAskedForTheList) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = structuredProxy();
    connectTo(out, consumer);
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_ON), kAll) << "nobody has said otherwise";
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(consumer.isTold(1));
    in->offer_change(typesOf({"B", "C"}), typesOf({"A"}));
    ASSERT_TRUE(consumer.isTold(2));
    EXPECT_THAT(consumer.notices(),
                ElementsAre(Notice{{"d/A"}, kAll}, Notice{{"d/B", "d/C"}, {"d/A"}}));
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_ON), Names({"d/B", "d/C"}));
}

TEST_F(Offers, AreSentToAConsumerThatHasAskedForChangesOnly) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = structuredProxy();
    connectTo(out, consumer);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    EXPECT_EQ(offered(out, NONE_NOW_UPDATES_ON), kNone);
    in->offer_change(typesOf({"B"}), typesOf({}));
    ASSERT_TRUE(consumer.isTold(1));
    EXPECT_THAT(consumer.notices(), ElementsAre(Notice{{"d/B"}, kNone}));
}

// Peers are called in turns. The consumer that is notified is called after the others would have
// been.
TEST_F(Offers, AreNotSentUnrequestedNorAfterUpdatesWereSwitchedOff) {
    StructuredNoted& neverAsked = make<StructuredNoted>();
    connectTo(structuredProxy(), neverAsked);
    StructuredNoted& listOnly = make<StructuredNoted>();
    const PushProxy listProxy = connected(listOnly);
    EXPECT_EQ(offered(listProxy, ALL_NOW_UPDATES_OFF), kAll);
    StructuredNoted& offOnly = make<StructuredNoted>();
    const PushProxy offProxy = connected(offOnly);
    EXPECT_EQ(offered(offProxy, NONE_NOW_UPDATES_OFF), kNone);
    StructuredNoted& asks = make<StructuredNoted>();
    const PushProxy askingProxy = connected(asks);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(asks.isTold(1));
    in->offer_change(typesOf({"B"}), typesOf({}));
    ASSERT_TRUE(asks.isTold(2));
    EXPECT_EQ(neverAsked.calls(), 0);
    EXPECT_EQ(listOnly.calls(), 0);
    EXPECT_EQ(offOnly.calls(), 0);
    EXPECT_EQ(offered(offProxy, NONE_NOW_UPDATES_ON), kNone);
    in->offer_change(typesOf({"C"}), typesOf({}));
    ASSERT_TRUE(offOnly.isTold(1)) << "switched on again";
    EXPECT_THAT(offOnly.notices(), ElementsAre(Notice{{"d/C"}, kNone}));
}

TEST_F(Offers, ThatChangedBetweenAskingAndConnectingAreSentToo) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = structuredProxy();
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_ON), kAll);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    connectTo(out, consumer);
    ASSERT_TRUE(consumer.isTold(1));
    EXPECT_THAT(consumer.notices(), ElementsAre(Notice{{"d/A"}, kAll}));
}

TEST_F(Offers, OfTwoSuppliersEndWithTheLastOne) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = connected(consumer);
    const IntakeProxy one = intake();
    const IntakeProxy other = intake();
    const SupplierAdmin_var admin = suppliers();
    one->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(consumer.isTold(1));
    other->offer_change(typesOf({"A"}), typesOf({}));
    admin->offer_change(typesOf({"A", "B"}), typesOf({}));
    ASSERT_TRUE(consumer.isTold(2));
    one->offer_change(typesOf({}), typesOf({"A"}));
    admin->offer_change(typesOf({}), typesOf({"A"}));
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_ON), Names({"d/A", "d/B"}));
    other->offer_change(typesOf({}), typesOf({"A"}));
    ASSERT_TRUE(consumer.isTold(3));
    EXPECT_THAT(consumer.notices(),
                ElementsAre(Notice{{"d/A"}, kAll}, Notice{{"d/B"}, kNone}, Notice{kNone, {"d/A"}}));
}

TEST_F(Offers, EndWithTheirProxyOrAdmin) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = connected(consumer);
    const EventChannel_var remote = remoteChannel();
    AdminID id = 0;
    const SupplierAdmin_var admin = remote->new_for_suppliers(AND_OP, id);
    const auto ofAdmin = StructuredProxyPushConsumer_var(
        intakeOf<StructuredProxyPushConsumer>(admin.in(), STRUCTURED_EVENT));
    const IntakeProxy other = intake();
    admin->offer_change(typesOf({"A"}), typesOf({}));
    ofAdmin->offer_change(typesOf({"B"}), typesOf({}));
    other->offer_change(typesOf({"C", "D"}), typesOf({}));
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_ON), Names({"d/A", "d/B", "d/C", "d/D"}));
    ofAdmin->disconnect_structured_push_consumer();
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_ON), Names({"d/A", "d/C", "d/D"}));
    const std::size_t before = consumer.notices().size();
    admin->destroy();
    ASSERT_TRUE(kelp::test::waitUntil([&] {
        const std::vector<Notice> notices = consumer.notices();
        return notices.size() > before && notices.back() == Notice{kNone, {"d/A"}};
    }));
    other->disconnect_structured_push_consumer();
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_OFF), kAll);
}

TEST_F(Offers, ThatCancelOutAreNotSent) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = connected(consumer);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(consumer.isTold(1));
    in->offer_change(typesOf({"A"}), typesOf({"Z"}));
    in->offer_change(typesOf({"A"}), typesOf({"A"}));
    EXPECT_THROW(in->offer_change(typesOf({"X", ""}), typesOf({"A"})),
                 CosNotifyComm::InvalidEventType);
    in->offer_change(typesOf({"B"}), typesOf({}));
    ASSERT_TRUE(consumer.isTold(2));
    EXPECT_THAT(consumer.notices(), ElementsAre(Notice{{"d/A"}, kAll}, Notice{{"d/B"}, kNone}));
}

class SequenceNoted final : public NotedConsumer<POA_CosNotifyComm::SequencePushConsumer> {
  public:
    void push_structured_events(const CosNotification::EventBatch&) override {}
    void disconnect_sequence_push_consumer() override {}
};

class AnyNoted final : public NotedConsumer<POA_CosNotifyComm::PushConsumer> {
  public:
    void push(const CORBA::Any&) override {}
    void disconnect_push_consumer() override {}
};

class PullNoted final : public NotedConsumer<POA_CosNotifyComm::StructuredPullConsumer> {
  public:
    void disconnect_structured_pull_consumer() override {}
};

TEST_F(Offers, AreSentToConsumersOfEveryKind) {
    const ConsumerAdmin_var admin = consumers();
    SequenceNoted& sequence = make<SequenceNoted>();
    const auto sequenceProxy = SequenceProxyPushSupplier_var(
        pushProxy<SequenceProxyPushSupplier>(admin.in(), SEQUENCE_EVENT));
    const auto sequenceReference = CosNotifyComm::SequencePushConsumer_var(
        referenceTo<CosNotifyComm::SequencePushConsumer>(sequence));
    sequenceProxy->connect_sequence_push_consumer(sequenceReference.in());
    AnyNoted& any = make<AnyNoted>();
    const auto anyProxy =
        ProxyPushSupplier_var(pushProxy<ProxyPushSupplier>(admin.in(), ANY_EVENT));
    const auto anyReference =
        CosNotifyComm::PushConsumer_var(referenceTo<CosNotifyComm::PushConsumer>(any));
    anyProxy->connect_any_push_consumer(anyReference.in());
    PullNoted& pull = make<PullNoted>();
    ProxyID id = 0;
    const ProxySupplier_var pullMade =
        admin->obtain_notification_pull_supplier(STRUCTURED_EVENT, id);
    const auto pullProxy =
        StructuredProxyPullSupplier_var(StructuredProxyPullSupplier::_narrow(pullMade.in()));
    const auto pullReference = CosNotifyComm::StructuredPullConsumer_var(
        referenceTo<CosNotifyComm::StructuredPullConsumer>(pull));
    pullProxy->connect_structured_pull_consumer(pullReference.in());
    EXPECT_EQ(offered(sequenceProxy, ALL_NOW_UPDATES_ON), kAll);
    EXPECT_EQ(offered(anyProxy, ALL_NOW_UPDATES_ON), kAll);
    EXPECT_EQ(offered(pullProxy, ALL_NOW_UPDATES_ON), kAll);

    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    for (const Noted* each :
         {static_cast<Noted*>(&sequence), static_cast<Noted*>(&any), static_cast<Noted*>(&pull)}) {
        ASSERT_TRUE(each->isTold(1));
        EXPECT_THAT(each->notices(), ElementsAre(Notice{{"d/A"}, kAll}));
    }
}

TEST_F(Offers, ThatChangeDuringANoticeAreSentInOneNotice) {
    std::promise<void> open;
    const std::shared_future<void> gate = open.get_future().share();
    StructuredNoted& consumer = make<StructuredNoted>();
    consumer.answer = [gate] { gate.wait(); };
    const PushProxy out = connected(consumer);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(kelp::test::waitUntil([&] { return consumer.calls() == 1; }));
    for (int i = 0; i < 20; ++i) {
        in->offer_change(typesOf({"B"}), typesOf({"C"}));
        in->offer_change(typesOf({"C"}), typesOf({"B", "A"}));
    }
    open.set_value();
    ASSERT_TRUE(consumer.isTold(2));
    in->offer_change(typesOf({"D"}), typesOf({}));
    ASSERT_TRUE(consumer.isTold(3));
    EXPECT_THAT(consumer.notices(), ElementsAre(Notice{{"d/A"}, kAll}, Notice{{"d/C"}, {"d/A"}},
                                                Notice{{"d/D"}, kNone}));
}

// Neither the supplier's call nor any lock waits for the consumer.
TEST_F(Offers, AreSentWhileTheConsumerCallsTheChannel) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = structuredProxy();
    const IntakeProxy in = intake();
    std::atomic<int> answered{0};
    consumer.answer = [&] {
        if (answered++ == 0) {
            out->subscription_change(typesOf({"A"}), typesOf({}));
            in->offer_change(typesOf({"B"}), typesOf({}));
        }
        EXPECT_EQ(subscribed(in, ALL_NOW_UPDATES_OFF), Names({"d/A"}));
    };
    connectTo(out, consumer);
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_ON), kAll);
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(consumer.isTold(2));
    EXPECT_THAT(consumer.notices(), ElementsAre(Notice{{"d/A"}, kAll}, Notice{{"d/B"}, kNone}));
}

TEST_F(Offers, AsSentAddUpToTheListAtAnyTime) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = structuredProxy();
    connectTo(out, consumer);
    const Names known = offered(out, ALL_NOW_UPDATES_ON);
    const std::vector<IntakeProxy> proxies{intake(), intake(), intake()};
    const std::vector<const char*> pool{"A", "B", "C", "D", "%ALL"};
    std::mt19937 random(7);
    const auto any = [&] { return pool[random() % pool.size()]; };
    for (int i = 0; i < 200; ++i)
        proxies[random() % proxies.size()]->offer_change(typesOf({any()}), typesOf({any(), any()}));
    proxies[0]->offer_change(typesOf({"END"}), typesOf({"%ALL"}));
    proxies[1]->offer_change(typesOf({}), typesOf({"%ALL"}));
    proxies[2]->offer_change(typesOf({}), typesOf({"%ALL"}));
    // a separate proxy, because reading the list with updates off would switch off the consumer's
    // updates
    const PushProxy reader = structuredProxy();
    const Names list = offered(reader, ALL_NOW_UPDATES_OFF);
    EXPECT_TRUE(list.contains("d/END"));
    const auto sum = [&] {
        Names names = known;
        for (const Notice& each : consumer.notices()) {
            for (const std::string& name : each.added)
                EXPECT_TRUE(names.insert(name).second) << name << " was there already";
            for (const std::string& name : each.removed)
                EXPECT_EQ(names.erase(name), 1u) << name << " was not there";
        }
        return names;
    };
    EXPECT_TRUE(kelp::test::waitUntil([&] { return sum() == list; }));
}

}  // namespace
}  // namespace kelp::notification::test
