// Admins: their proxies, filters and qualities of service.

#include <cstring>

#include "channel_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;
using testing::IsEmpty;

class Admins : public ChannelFixture {
  protected:
    /// Return a filter that accepts events of one name.
    CosNotifyFilter::Filter_ptr named(const std::string& name) {
        const EventChannel_var remote = remoteChannel();
        const CosNotifyFilter::FilterFactory_var factory = remote->default_filter_factory();
        CosNotifyFilter::Filter_var filter = factory->create_filter("EXTENDED_TCL");
        CosNotifyFilter::ConstraintExpSeq constraints;
        constraints.length(1);
        constraints[0].constraint_expr =
            CORBA::string_dup(("$event_name == '" + name + "'").c_str());
        const CosNotifyFilter::ConstraintInfoSeq_var added = filter->add_constraints(constraints);
        return filter._retn();
    }
};

TEST_F(Admins, AreFoundByTheirNumbers) {
    const EventChannel_var remote = remoteChannel();
    AdminID id = 0;
    const ConsumerAdmin_var made = remote->new_for_consumers(OR_OP, id);
    EXPECT_EQ(made->MyID(), id);
    EXPECT_EQ(made->MyOperator(), OR_OP);
    const EventChannel_var channelOfIt = made->MyChannel();
    EXPECT_FALSE(CORBA::is_nil(channelOfIt.in()));
    AdminIDSeq_var ids = remote->get_all_consumeradmins();
    EXPECT_EQ(ids->length(), 2u) << "the default admin is number 0";
    const ConsumerAdmin_var found = remote->get_consumeradmin(id);
    EXPECT_EQ(found->MyID(), id);
    EXPECT_THROW(ConsumerAdmin_var(remote->get_consumeradmin(99)), AdminNotFound);
    AdminID supplierId = 0;
    const SupplierAdmin_var supplierAdmin = remote->new_for_suppliers(AND_OP, supplierId);
    ids = remote->get_all_supplieradmins();
    EXPECT_EQ(ids->length(), 2u);
    supplierAdmin->destroy();
    EXPECT_THROW(SupplierAdmin_var(remote->get_supplieradmin(supplierId)), AdminNotFound);
    EXPECT_THROW(remote->destroy(), CORBA::NO_PERMISSION);
}

TEST_F(Admins, ListTheirProxies) {
    const ConsumerAdmin_var admin = consumers();
    ProxyID push = 0;
    ProxyID pull = 0;
    const ProxySupplier_var pusher = admin->obtain_notification_push_supplier(SEQUENCE_EVENT, push);
    const ProxySupplier_var puller = admin->obtain_notification_pull_supplier(ANY_EVENT, pull);
    EXPECT_EQ(pusher->MyType(), PUSH_SEQUENCE);
    EXPECT_EQ(puller->MyType(), PULL_ANY);
    ProxyIDSeq_var ids = admin->push_suppliers();
    ASSERT_EQ(ids->length(), 1u);
    EXPECT_EQ(ids[0], push);
    ids = admin->pull_suppliers();
    ASSERT_EQ(ids->length(), 1u);
    EXPECT_EQ(ids[0], pull);
    const ConsumerAdmin_var adminOfIt = pusher->MyAdmin();
    EXPECT_EQ(adminOfIt->MyID(), 0);
    EXPECT_THROW(CosEventChannelAdmin::ProxyPushSupplier_var(admin->obtain_push_supplier()),
                 CORBA::NO_IMPLEMENT);
}

TEST_F(Admins, ThatAreDestroyedDisconnectTheirConsumers) {
    const EventChannel_var remote = remoteChannel();
    AdminID id = 0;
    const ConsumerAdmin_var admin = remote->new_for_consumers(AND_OP, id);
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy =
        pushProxy<StructuredProxyPushSupplier>(admin.in(), STRUCTURED_EVENT);
    connect(proxy.in(), consumer);
    admin->destroy();
    EXPECT_TRUE(kelp::test::waitUntil([&] { return consumer.ended(); }));
    EXPECT_THROW(ConsumerAdmin_var(remote->get_consumeradmin(id)), AdminNotFound);
    EXPECT_TRUE(proxy->_non_existent());
    EXPECT_THAT(channel().consumers(), IsEmpty());
}

TEST_F(Admins, PassTheirQualitiesOnToNewProxies) {
    const ConsumerAdmin_var admin = consumers();
    admin->set_qos(property(CosNotification::MaximumBatchSize, CORBA::Long(7)));
    const SequenceProxyPushSupplier_var proxy =
        pushProxy<SequenceProxyPushSupplier>(admin.in(), SEQUENCE_EVENT);
    CosNotification::QoSProperties_var qos = proxy->get_qos();
    CORBA::Long size = 0;
    for (CORBA::ULong i = 0; i < qos->length(); ++i) {
        if (std::strcmp(qos[i].name.in(), CosNotification::MaximumBatchSize) == 0) {
            EXPECT_TRUE(qos[i].value >>= size);
        }
    }
    EXPECT_EQ(size, 7);
    EXPECT_THROW(proxy->set_qos(property("MaxBatch", CORBA::Long(7))),
                 CosNotification::UnsupportedQoS);
    CosNotification::NamedPropertyRangeSeq_var ranges;
    EXPECT_NO_THROW(admin->validate_qos(CosNotification::QoSProperties(), ranges.out()));
    EXPECT_THROW(admin->validate_qos(property("MaxBatch", CORBA::Long(7)), ranges.out()),
                 CosNotification::UnsupportedQoS);
}

TEST_F(Admins, LimitTheConsumersOfTheChannel) {
    const EventChannel_var own = channel().reference();
    own->set_admin(property(CosNotification::MaxConsumers, CORBA::Long(1)));
    const ConsumerAdmin_var admin = consumers();
    ProxyID id = 0;
    const ProxySupplier_var first = admin->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
    try {
        const ProxySupplier_var second =
            admin->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
        ADD_FAILURE() << "a second consumer was let in";
    } catch (const AdminLimitExceeded& limit) {
        EXPECT_STREQ(limit.admin_property_err.name.in(), CosNotification::MaxConsumers);
    }
    const StructuredProxyPushSupplier_var proxy = StructuredProxyPushSupplier::_narrow(first.in());
    proxy->disconnect_structured_push_supplier();
    EXPECT_NO_THROW(
        ProxySupplier_var(admin->obtain_notification_push_supplier(STRUCTURED_EVENT, id)));
}

TEST_F(Admins, FilterWithTheirProxiesAsTheirOperatorSays) {
    const EventChannel_var remote = remoteChannel();
    const CosNotifyFilter::Filter_var ones = named("1");
    const CosNotifyFilter::Filter_var twos = named("2");
    AdminID id = 0;
    const ConsumerAdmin_var both = remote->new_for_consumers(AND_OP, id);
    const ConsumerAdmin_var either = remote->new_for_consumers(OR_OP, id);
    StructuredConsumer& ofBoth = make<StructuredConsumer>();
    StructuredConsumer& ofEither = make<StructuredConsumer>();
    for (auto [admin, consumer] :
         {std::pair(both.in(), &ofBoth), std::pair(either.in(), &ofEither)}) {
        admin->add_filter(ones.in());
        const StructuredProxyPushSupplier_var proxy =
            pushProxy<StructuredProxyPushSupplier>(admin, STRUCTURED_EVENT);
        connect(proxy.in(), *consumer);
        proxy->add_filter(twos.in());
    }
    push(1, 3);
    ASSERT_TRUE(gets(ofEither, 2));
    EXPECT_THAT(ofEither.names(), ElementsAre("1", "2"));
    EXPECT_THAT(ofBoth.names(), IsEmpty());
}

TEST_F(Admins, OfTheDefaultHeedTheFiltersOfTheirProxies) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = structuredProxy();
    connect(proxy.in(), consumer);
    const CosNotifyFilter::Filter_var first = named("2");
    const CosNotifyFilter::Filter_var second = named("3");
    const CosNotifyFilter::FilterID id = proxy->add_filter(first.in());
    push(1, 4);
    ASSERT_TRUE(gets(consumer, 1));
    proxy->add_filter(second.in());
    push(1, 4);
    ASSERT_TRUE(gets(consumer, 3));
    EXPECT_THAT(consumer.names(), ElementsAre("2", "2", "3"))
        << "one match of several filters is enough";
    proxy->remove_filter(id);
    EXPECT_THROW(proxy->remove_filter(id), CosNotifyFilter::FilterNotFound);
    EXPECT_THROW(CosNotifyFilter::Filter_var(proxy->get_filter(id)),
                 CosNotifyFilter::FilterNotFound);
    CosNotifyFilter::FilterIDSeq_var ids = proxy->get_all_filters();
    EXPECT_EQ(ids->length(), 1u);
    proxy->remove_all_filters();
    push(9, 9);
    ASSERT_TRUE(gets(consumer, 4));
    EXPECT_THROW(proxy->add_filter(CosNotifyFilter::Filter::_nil()), CORBA::BAD_PARAM);
}

}  // namespace
}  // namespace kelp::notification::test
