// Suppliers are notified of the types to which consumers subscribe.

#include "changes_fixture.h"
#include "support/trace_capture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;
using testing::IsEmpty;

class Subscriptions : public ChangesFixture {
  protected:
    Names all(const IntakeProxy& proxy) { return subscribed(proxy, ALL_NOW_UPDATES_OFF); }
};

TEST_F(Subscriptions, AreThoseOfAllConsumersTogether) {
    const IntakeProxy in = intake();
    EXPECT_EQ(all(in), kNone) << "there is no consumer";
    const PushProxy one = structuredProxy();
    EXPECT_EQ(all(in), kAll);
    one->subscription_change(typesOf({"A"}), typesOf({}));
    EXPECT_EQ(all(in), Names({"d/A"}));
    const PushProxy other = structuredProxy();
    EXPECT_EQ(all(in), kAll) << "the other one wants everything";
    other->subscription_change(typesOf({"A", "B"}), typesOf({}));
    EXPECT_EQ(all(in), Names({"d/A", "d/B"}));
    one->subscription_change(typesOf({"C"}), typesOf({"A"}));
    EXPECT_EQ(all(in), Names({"d/A", "d/B", "d/C"})) << "one of them still wants A";
    other->disconnect_structured_push_supplier();
    EXPECT_EQ(all(in), Names({"d/C"}));
    EXPECT_EQ(subscribed(in, NONE_NOW_UPDATES_OFF), kNone);
    one->disconnect_structured_push_supplier();
    EXPECT_EQ(all(in), kNone);
}

TEST_F(Subscriptions, AreThoseOfTheProxyWithinThoseOfItsAdmin) {
    const IntakeProxy in = intake();
    const EventChannel_var remote = remoteChannel();
    AdminID id = 0;
    const ConsumerAdmin_var admin = remote->new_for_consumers(AND_OP, id);
    admin->subscription_change(typesOf({"A", "B"}), typesOf({}));
    EXPECT_EQ(all(in), kNone) << "an admin without a consumer";
    const auto proxy = StructuredProxyPushSupplier_var(
        pushProxy<StructuredProxyPushSupplier>(admin.in(), STRUCTURED_EVENT));
    EXPECT_EQ(all(in), Names({"d/A", "d/B"}));
    proxy->subscription_change(typesOf({"B", "C"}), typesOf({}));
    EXPECT_EQ(all(in), Names({"d/B"})) << "nothing else reaches this consumer";
    admin->subscription_change(typesOf({"%ALL"}), typesOf({}));
    EXPECT_EQ(all(in), Names({"d/B", "d/C"}));
    admin->destroy();
    EXPECT_EQ(all(in), kNone);
}

TEST_F(Subscriptions, AreSentToASupplierThatHasAskedForTheList) {
    StructuredSupplier& supplier = make<StructuredSupplier>();
    const IntakeProxy in = intake();
    connectTo(in, supplier);
    const PushProxy one = structuredProxy();
    EXPECT_EQ(subscribed(in, ALL_NOW_UPDATES_ON), kAll);
    one->subscription_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(supplier.isTold(1));
    const ConsumerAdmin_var admin = consumers();
    admin->subscription_change(typesOf({"B"}), typesOf({}));
    ASSERT_TRUE(supplier.isTold(2));
    one->subscription_change(typesOf({"B"}), typesOf({}));
    ASSERT_TRUE(supplier.isTold(3));
    one->disconnect_structured_push_supplier();
    ASSERT_TRUE(supplier.isTold(4));
    EXPECT_THAT(supplier.notices(), ElementsAre(Notice{{"d/A"}, kAll}, Notice{kNone, {"d/A"}},
                                                Notice{{"d/B"}, kNone}, Notice{kNone, {"d/B"}}));
}

TEST_F(Subscriptions, ThatCancelOutAreNotSent) {
    StructuredSupplier& supplier = make<StructuredSupplier>();
    const IntakeProxy in = connected(supplier);
    const PushProxy one = structuredProxy();
    ASSERT_TRUE(supplier.isTold(1));
    const PushProxy other = structuredProxy();
    other->subscription_change(typesOf({"A"}), typesOf({}));
    other->subscription_change(typesOf({"B"}), typesOf({"A"}));
    other->disconnect_structured_push_supplier();
    EXPECT_THROW(one->subscription_change(typesOf({"X", ""}), typesOf({})),
                 CosNotifyComm::InvalidEventType);
    one->disconnect_structured_push_supplier();
    ASSERT_TRUE(supplier.isTold(2));
    EXPECT_THAT(supplier.notices(), ElementsAre(Notice{kAll, kNone}, Notice{kNone, kAll}));
}

// Peers are called in turns. The supplier that is notified is called after the others would have
// been.
TEST_F(Subscriptions, AreNotSentUnrequestedNorAfterUpdatesWereSwitchedOff) {
    const kelp::test::TraceCapture trace;
    StructuredSupplier& neverAsked = make<StructuredSupplier>();
    const IntakeProxy quiet = intake();
    connectTo(quiet, neverAsked);
    StructuredSupplier& listOnly = make<StructuredSupplier>();
    const IntakeProxy listProxy = connected(listOnly);
    EXPECT_EQ(subscribed(listProxy, ALL_NOW_UPDATES_OFF), kNone);
    StructuredSupplier& gone = make<StructuredSupplier>();
    connected(gone)->disconnect_structured_push_consumer();
    const IntakeProxy nobody = intake();
    nobody->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
    EXPECT_EQ(subscribed(nobody, ALL_NOW_UPDATES_ON), kNone);
    StructuredSupplier& asks = make<StructuredSupplier>();
    const IntakeProxy askingProxy = connected(asks);
    const PushProxy out = structuredProxy();
    ASSERT_TRUE(asks.isTold(1));
    out->subscription_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(asks.isTold(2));
    EXPECT_EQ(neverAsked.calls(), 0);
    EXPECT_EQ(listOnly.calls(), 0);
    EXPECT_EQ(gone.calls(), 0);
    EXPECT_FALSE(trace.contains("receives no more changes")) << "the nil one was tried";
}

TEST_F(Subscriptions, OfAConsumerThatDiesEnd) {
    StructuredSupplier& supplier = make<StructuredSupplier>();
    const IntakeProxy in = connected(supplier);
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const PushProxy out = structuredProxy();
    connect(out.in(), consumer);
    ASSERT_TRUE(supplier.isTold(1));
    deactivate(&consumer);
    push(1, 1);
    ASSERT_TRUE(supplier.isTold(2));
    EXPECT_THAT(supplier.notices(), ElementsAre(Notice{kAll, kNone}, Notice{kNone, kAll}));
}

class SequenceSupplier final : public NotedSubscriber<POA_CosNotifyComm::SequencePushSupplier> {
  public:
    void disconnect_sequence_push_supplier() override {}
};

class AnySupplier final : public NotedSubscriber<POA_CosNotifyComm::PushSupplier> {
  public:
    void disconnect_push_supplier() override {}
};

TEST_F(Subscriptions, AreSentToSuppliersOfEveryKind) {
    const SupplierAdmin_var admin = suppliers();
    SequenceSupplier& sequence = make<SequenceSupplier>();
    const auto sequenceProxy = SequenceProxyPushConsumer_var(
        intakeOf<SequenceProxyPushConsumer>(admin.in(), SEQUENCE_EVENT));
    const auto sequenceReference = CosNotifyComm::SequencePushSupplier_var(
        referenceTo<CosNotifyComm::SequencePushSupplier>(sequence));
    sequenceProxy->connect_sequence_push_supplier(sequenceReference.in());
    EXPECT_EQ(subscribed(sequenceProxy, ALL_NOW_UPDATES_ON), kNone);
    AnySupplier& any = make<AnySupplier>();
    const auto anyProxy = ProxyPushConsumer_var(intakeOf<ProxyPushConsumer>(admin.in(), ANY_EVENT));
    const auto anyReference =
        CosNotifyComm::PushSupplier_var(referenceTo<CosNotifyComm::PushSupplier>(any));
    anyProxy->connect_any_push_supplier(anyReference.in());
    EXPECT_EQ(subscribed(anyProxy, ALL_NOW_UPDATES_ON), kNone);
    const PushProxy out = structuredProxy();
    for (const Noted* each : {static_cast<Noted*>(&sequence), static_cast<Noted*>(&any)}) {
        ASSERT_TRUE(each->isTold(1));
        EXPECT_THAT(each->notices(), ElementsAre(Notice{kAll, kNone}));
    }
}

}  // namespace
}  // namespace kelp::notification::test
