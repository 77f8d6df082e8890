// Limits for the number of objects that clients at one address may have in the channel.

#include "channel_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;

class AddressLimits : public ChannelFixture {
  protected:
    AddressLimits() { settings_.perAddress = {2, 1, 3, 2}; }

    /// Return the same object, called over a connection.
    template <class Interface>
    typename Interface::_ptr_type wired(CORBA::Object_ptr own) {
        const CORBA::Object_var remote = orb_.overTheWire(own);
        return Interface::_narrow(remote.in());
    }
    std::vector<ProxySupplier_var> obtainSuppliers(int count) {
        const ConsumerAdmin_var own = consumers();
        const ConsumerAdmin_var admin = wired<ConsumerAdmin>(own.in());
        std::vector<ProxySupplier_var> proxies;
        ProxyID id = 0;
        for (int i = 0; i < count; ++i)
            proxies.emplace_back(admin->obtain_notification_push_supplier(STRUCTURED_EVENT, id));
        return proxies;
    }
};

TEST_F(AddressLimits, ConsumersAreRefusedBeyondTheLimitUntilOneHasGone) {
    std::vector<ProxySupplier_var> proxies = obtainSuppliers(2);
    try {
        obtainSuppliers(1);
        FAIL() << "one too many";
    } catch (const AdminLimitExceeded& refusal) {
        EXPECT_STREQ(refusal.admin_property_err.name.in(), CosNotification::MaxConsumers);
        CORBA::Long limit = 0;
        EXPECT_TRUE(refusal.admin_property_err.value >>= limit);
        EXPECT_EQ(limit, 2);
    }
    const StructuredProxyPushSupplier_var gone =
        StructuredProxyPushSupplier::_narrow(proxies[0].in());
    gone->disconnect_structured_push_supplier();
    EXPECT_NO_THROW(obtainSuppliers(1));
    EXPECT_THROW(obtainSuppliers(1), AdminLimitExceeded);
}

TEST_F(AddressLimits, ProxiesOfADestroyedAdminNoLongerCount) {
    const EventChannel_var remote = remoteChannel();
    AdminID id = 0;
    const ConsumerAdmin_var own = remote->new_for_consumers(OR_OP, id);
    const ConsumerAdmin_var admin = wired<ConsumerAdmin>(own.in());
    ProxyID proxy = 0;
    for (int i = 0; i < 2; ++i)
        const ProxySupplier_var made =
            admin->obtain_notification_pull_supplier(STRUCTURED_EVENT, proxy);
    EXPECT_THROW(obtainSuppliers(1), AdminLimitExceeded);
    admin->destroy();
    EXPECT_NO_THROW(obtainSuppliers(2));
}

TEST_F(AddressLimits, SuppliersAreRefusedBeyondTheLimitUntilOneHasGone) {
    const SupplierAdmin_var own = suppliers();
    const SupplierAdmin_var admin = wired<SupplierAdmin>(own.in());
    ProxyID id = 0;
    const ProxyConsumer_var made = admin->obtain_notification_push_consumer(STRUCTURED_EVENT, id);
    EXPECT_THROW(ProxyConsumer_var(admin->obtain_notification_push_consumer(ANY_EVENT, id)),
                 AdminLimitExceeded);
    const StructuredProxyPushConsumer_var gone = StructuredProxyPushConsumer::_narrow(made.in());
    gone->disconnect_structured_push_consumer();
    EXPECT_NO_THROW(ProxyConsumer_var(admin->obtain_notification_push_consumer(ANY_EVENT, id)));
}

TEST_F(AddressLimits, AdminsOfBothKindsCountTogetherUntilTheyAreDestroyed) {
    const EventChannel_var remote = remoteChannel();
    AdminID id = 0;
    const ConsumerAdmin_var first = remote->new_for_consumers(OR_OP, id);
    const SupplierAdmin_var second = remote->new_for_suppliers(OR_OP, id);
    const ConsumerAdmin_var third = remote->new_for_consumers(OR_OP, id);
    EXPECT_THROW(ConsumerAdmin_var(remote->new_for_consumers(OR_OP, id)), CORBA::NO_RESOURCES);
    EXPECT_THROW(SupplierAdmin_var(remote->new_for_suppliers(OR_OP, id)), CORBA::NO_RESOURCES);
    second->destroy();
    EXPECT_NO_THROW(ConsumerAdmin_var(remote->new_for_consumers(OR_OP, id)));
    first->destroy();
    EXPECT_NO_THROW(SupplierAdmin_var(remote->new_for_suppliers(OR_OP, id)));
}

TEST_F(AddressLimits, FiltersCountUntilTheyAreDestroyed) {
    const EventChannel_var remote = remoteChannel();
    const CosNotifyFilter::FilterFactory_var own = remote->default_filter_factory();
    const CosNotifyFilter::FilterFactory_var factory =
        wired<CosNotifyFilter::FilterFactory>(own.in());
    using CosNotifyFilter::Filter_var;
    const Filter_var first = factory->create_filter("EXTENDED_TCL");
    const Filter_var second = factory->create_filter("EXTENDED_TCL");
    EXPECT_THROW(Filter_var(factory->create_filter("EXTENDED_TCL")), CORBA::NO_RESOURCES);
    first->destroy();
    EXPECT_NO_THROW(Filter_var(factory->create_filter("EXTENDED_TCL")));
    EXPECT_THROW(Filter_var(factory->create_filter("EXTENDED_TCL")), CORBA::NO_RESOURCES);
}

TEST_F(AddressLimits, CallersInsideTheProcessAreNotLimited) {
    const EventChannel_var own = channel().reference();
    const ConsumerAdmin_var admin = own->default_consumer_admin();
    const CosNotifyFilter::FilterFactory_var factory = own->default_filter_factory();
    ProxyID proxy = 0;
    AdminID id = 0;
    for (int i = 0; i < 10; ++i) {
        EXPECT_NO_THROW(
            ProxySupplier_var(admin->obtain_notification_push_supplier(ANY_EVENT, proxy)));
        EXPECT_NO_THROW(ConsumerAdmin_var(own->new_for_consumers(OR_OP, id)));
        EXPECT_NO_THROW(CosNotifyFilter::Filter_var(factory->create_filter("EXTENDED_TCL")));
    }
    EXPECT_NO_THROW(obtainSuppliers(2)) << "those inside do not count for an address";
}

}  // namespace
}  // namespace kelp::notification::test
