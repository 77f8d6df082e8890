// What callers over connections may not do to the objects that all of them share: the channel and
// its default admins.

#include "guarded_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::IsEmpty;

using Rights = GuardedFixture;

TEST_F(Rights, NobodyDestroysADefaultAdmin) {
    const EventChannel_var channel = channelFrom(a_);
    const ConsumerAdmin_var consumers = consumersFrom(a_);
    allowed_.allowSupplying(kA);
    const SupplierAdmin_var suppliers = suppliersFrom(a_);
    EXPECT_THROW(consumers->destroy(), CORBA::NO_PERMISSION);
    EXPECT_THROW(suppliers->destroy(), CORBA::NO_PERMISSION);
    const ConsumerAdmin_var consumersAfter = channel->default_consumer_admin();
    const SupplierAdmin_var suppliersAfter = channel->default_supplier_admin();
    EXPECT_FALSE(consumersAfter->_non_existent());
    EXPECT_FALSE(suppliersAfter->_non_existent());
    EXPECT_NO_THROW(proxyFrom(b_)) << "another NMS goes on";
}

TEST_F(Rights, NotEvenThisProcessDestroysADefaultAdmin) {
    const EventChannel_var own = channel().reference();
    const ConsumerAdmin_var consumers = own->default_consumer_admin();
    const SupplierAdmin_var suppliers = own->default_supplier_admin();
    EXPECT_THROW(consumers->destroy(), CORBA::NO_PERMISSION);
    EXPECT_THROW(suppliers->destroy(), CORBA::NO_PERMISSION);
}

TEST_F(Rights, NobodyChangesTheChannel) {
    const EventChannel_var channel = channelFrom(a_);
    EXPECT_THROW(channel->set_qos(property(CosNotification::MaxEventsPerConsumer, CORBA::Long(1))),
                 CORBA::NO_PERMISSION);
    EXPECT_THROW(channel->set_admin(property(CosNotification::MaxQueueLength, CORBA::Long(1))),
                 CORBA::NO_PERMISSION);
    EXPECT_THROW(channel->destroy(), CORBA::NO_PERMISSION);
    CosNotification::NamedPropertyRangeSeq_var ranges;
    EXPECT_NO_THROW(channel->validate_qos(CosNotification::QoSProperties(), ranges.out()));
    EXPECT_NO_THROW(CosNotification::QoSProperties_var(channel->get_qos()));
    EXPECT_NO_THROW(CosNotification::AdminProperties_var(channel->get_admin()));
}

TEST_F(Rights, NobodyChangesWhatADefaultAdminLetsThrough) {
    const ConsumerAdmin_var admin = consumersFrom(a_);
    CosNotifyFilter::Filter_var filter;
    filterFrom(a_, &filter);
    EXPECT_THROW(admin->set_qos(property(CosNotification::MaxEventsPerConsumer, CORBA::Long(1))),
                 CORBA::NO_PERMISSION);
    EXPECT_THROW(admin->add_filter(filter.in()), CORBA::NO_PERMISSION);
    EXPECT_THROW(admin->remove_all_filters(), CORBA::NO_PERMISSION);
    EXPECT_THROW(
        admin->subscription_change(types("tmf_mtnm", "NT_ALARM"), CosNotification::EventTypeSeq()),
        CORBA::NO_PERMISSION);
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = proxyFrom(b_);
    connect(proxy.in(), consumer);
    push(1, 3);
    EXPECT_TRUE(gets(consumer, 3));
}

TEST_F(Rights, CallersMayChangeTheirOwnAdmin) {
    const ConsumerAdmin_var admin = newAdminFrom(a_);
    CosNotifyFilter::Filter_var filter;
    filterFrom(a_, &filter);
    EXPECT_NO_THROW(admin->set_qos(property(CosNotification::MaximumBatchSize, CORBA::Long(7))));
    EXPECT_NO_THROW(admin->add_filter(filter.in()));
    EXPECT_NO_THROW(
        admin->subscription_change(types("tmf_mtnm", "NT_ALARM"), CosNotification::EventTypeSeq()));
    EXPECT_NO_THROW(admin->destroy());
}

TEST_F(Rights, CallersThatAreNoSuppliersForgeNoEvents) {
    const EventChannel_var channel = channelFrom(a_);
    const SupplierAdmin_var admin = suppliersFrom(a_);
    ProxyID proxy = 0;
    AdminID id = 0;
    EXPECT_THROW(
        ProxyConsumer_var(admin->obtain_notification_push_consumer(STRUCTURED_EVENT, proxy)),
        CORBA::NO_PERMISSION);
    EXPECT_THROW(admin->MyID(), CORBA::NO_PERMISSION);
    EXPECT_THROW(
        admin->offer_change(types("tmf_mtnm", "NT_ALARM"), CosNotification::EventTypeSeq()),
        CORBA::NO_PERMISSION);
    EXPECT_THROW(SupplierAdmin_var(channel->new_for_suppliers(AND_OP, id)), CORBA::NO_PERMISSION);

    allowed_.allowSupplying(kB);
    const StructuredProxyPushConsumer_var intake = intakeFrom(b_);
    intake->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
    const StructuredProxyPushConsumer_var stolen =
        from<StructuredProxyPushConsumer>(a_, intake.in());
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var out = proxyFrom(a_);
    connect(out.in(), consumer);
    EXPECT_THROW(stolen->push_structured_event(event("forged")), CORBA::NO_PERMISSION);
    intake->push_structured_event(event("genuine"));
    ASSERT_TRUE(gets(consumer, 1));
    EXPECT_THAT(consumer.names(), testing::ElementsAre("genuine"));
}

}  // namespace
}  // namespace kelp::notification::test
