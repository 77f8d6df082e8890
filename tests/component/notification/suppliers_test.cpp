// Suppliers outside the process that push into the channel.

#include "channel_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;

class Suppliers : public ChannelFixture {
  protected:
    void SetUp() override {
        const StructuredProxyPushSupplier_var proxy = structuredProxy();
        connect(proxy.in(), consumer_);
        admin_ = suppliers();
    }
    template <class Interface>
    typename Interface::_ptr_type proxy(ClientType type) {
        ProxyID id = 0;
        const ProxyConsumer_var made = admin_->obtain_notification_push_consumer(type, id);
        return Interface::_narrow(made.in());
    }

    StructuredConsumer& consumer_ = make<StructuredConsumer>();
    SupplierAdmin_var admin_;
};

TEST_F(Suppliers, OfStructuredEventsReachTheConsumers) {
    const StructuredProxyPushConsumer_var into =
        proxy<StructuredProxyPushConsumer>(STRUCTURED_EVENT);
    EXPECT_THROW(into->push_structured_event(event("early")), CosEventComm::Disconnected);
    into->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
    EXPECT_THROW(
        into->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil()),
        CosEventChannelAdmin::AlreadyConnected);
    into->push_structured_event(event("one"));
    ASSERT_TRUE(gets(consumer_, 1));
    EXPECT_THAT(consumer_.names(), ElementsAre("one"));
    into->disconnect_structured_push_consumer();
    EXPECT_THROW(into->push_structured_event(event("late")), CORBA::OBJECT_NOT_EXIST);
}

TEST_F(Suppliers, OfSequencesReachTheConsumersInOrder) {
    const SequenceProxyPushConsumer_var into = proxy<SequenceProxyPushConsumer>(SEQUENCE_EVENT);
    into->connect_sequence_push_supplier(CosNotifyComm::SequencePushSupplier::_nil());
    CosNotification::EventBatch batch;
    batch.length(3);
    for (CORBA::ULong i = 0; i < 3; ++i)
        batch[i] = event(std::to_string(i));
    into->push_structured_events(batch);
    ASSERT_TRUE(gets(consumer_, 3));
    EXPECT_THAT(consumer_.names(), ElementsAre("0", "1", "2"));
}

TEST_F(Suppliers, OfAnyEventsReachConsumersOfEveryKind) {
    AnyConsumer& anyConsumer = make<AnyConsumer>();
    const ConsumerAdmin_var consumerAdmin = consumers();
    const ProxyPushSupplier_var out = pushProxy<ProxyPushSupplier>(consumerAdmin.in(), ANY_EVENT);
    const CORBA::Object_var object = remote(anyConsumer);
    const CosNotifyComm::PushConsumer_var reference =
        CosNotifyComm::PushConsumer::_narrow(object.in());
    out->connect_any_push_consumer(reference.in());

    const ProxyPushConsumer_var into = proxy<ProxyPushConsumer>(ANY_EVENT);
    into->connect_any_push_supplier(CosEventComm::PushSupplier::_nil());
    CORBA::Any structured;
    structured <<= event("one");
    into->push(structured);
    CORBA::Any text;
    text <<= "plain";
    into->push(text);
    ASSERT_TRUE(gets(anyConsumer, 2));
    EXPECT_THAT(anyConsumer.names(), ElementsAre("one", "text plain"));
    ASSERT_TRUE(gets(consumer_, 2));
    EXPECT_THAT(consumer_.names(), ElementsAre("one", "")) << "the other one is of type %ANY";
}

TEST_F(Suppliers, AreListedAndLimited) {
    const EventChannel_var own = channel().reference();
    own->set_admin(property(CosNotification::MaxSuppliers, CORBA::Long(1)));
    ProxyID id = 0;
    const ProxyConsumer_var first = admin_->obtain_notification_push_consumer(STRUCTURED_EVENT, id);
    const ProxyIDSeq_var ids = admin_->push_consumers();
    EXPECT_EQ(ids->length(), 1u);
    ProxyID other = 0;
    EXPECT_THROW(ProxyConsumer_var(admin_->obtain_notification_push_consumer(ANY_EVENT, other)),
                 AdminLimitExceeded);
    const ProxyConsumer_var found = admin_->get_proxy_consumer(id);
    EXPECT_EQ(found->MyType(), PUSH_STRUCTURED);
    EXPECT_THROW(ProxyConsumer_var(admin_->get_proxy_consumer(id + 1)), ProxyNotFound);
    EXPECT_THROW(ProxyConsumer_var(admin_->obtain_notification_pull_consumer(ANY_EVENT, other)),
                 CORBA::NO_IMPLEMENT);
}

TEST_F(Suppliers, OffersAreShownToConsumers) {
    const StructuredProxyPushConsumer_var into =
        proxy<StructuredProxyPushConsumer>(STRUCTURED_EVENT);
    into->offer_change(types("tmf_mtnm", "NT_ALARM"), CosNotification::EventTypeSeq());
    const StructuredProxyPushSupplier_var out = structuredProxy();
    CosNotification::EventTypeSeq_var offered = out->obtain_offered_types(ALL_NOW_UPDATES_OFF);
    ASSERT_EQ(offered->length(), 1u);
    EXPECT_STREQ(offered[0].type_name.in(), "NT_ALARM");
    offered = out->obtain_offered_types(NONE_NOW_UPDATES_OFF);
    EXPECT_EQ(offered->length(), 0u);
}

}  // namespace
}  // namespace kelp::notification::test
