// Proxies that are created and ended with too little memory: each step happens completely or not at
// all.

#include "component/notification/channel_fixture.h"
#include "failing_memory.h"
#include "support/channel_servant.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using kelp::test::FailingMemory;
using kelp::test::withEachAllocationFailing;

class ProxyFaults : public ChannelFixture {
  protected:
    ProxyFaults() {
        settings_.delivery.pushTimeout = std::chrono::seconds(5);
        const EventChannel_var own = channel().reference();
        own->set_admin(property(CosNotification::MaxConsumers, CORBA::Long(1)));
        own->set_admin(property(CosNotification::MaxSuppliers, CORBA::Long(1)));
        admin_ = consumers();
        supplierAdmin_ = suppliers();
        adminPin_ = kelp::test::channelServant(orb_.root(), admin_.in());
        supplierAdminPin_ = kelp::test::channelServant(orb_.root(), supplierAdmin_.in());
    }
    POA_CosNotifyChannelAdmin::ConsumerAdmin& adminServant() {
        return dynamic_cast<POA_CosNotifyChannelAdmin::ConsumerAdmin&>(*adminPin_.in());
    }
    POA_CosNotifyChannelAdmin::SupplierAdmin& supplierAdminServant() {
        return dynamic_cast<POA_CosNotifyChannelAdmin::SupplierAdmin&>(*supplierAdminPin_.in());
    }
    /// True if an allocation failed, which made the call fail.
    template <class Call>
    static bool failsWith(int nth, Call call) {
        const FailingMemory failing(nth);
        try {
            call();
        } catch (const std::bad_alloc&) {
        } catch (const CORBA::NO_MEMORY&) {
        }
        return failing.hasHappened();
    }
    std::size_t listedConsumers() {
        const ProxyIDSeq_var pushing = admin_->push_suppliers();
        const ProxyIDSeq_var pulling = admin_->pull_suppliers();
        return pushing->length() + pulling->length();
    }

    ConsumerAdmin_var admin_;
    SupplierAdmin_var supplierAdmin_;
    PortableServer::ServantBase_var adminPin_;
    PortableServer::ServantBase_var supplierAdminPin_;
};

TEST_F(ProxyFaults, LeaveNoIncompleteConsumerProxy) {
    withEachAllocationFailing([this](int nth) {
        ProxySupplier_var made;
        const bool failed = failsWith(nth, [&] {
            ProxyID id = 0;
            made = adminServant().obtain_notification_push_supplier(STRUCTURED_EVENT, id);
        });
        EXPECT_EQ(channel().consumers().size(), listedConsumers()) << "allocation " << nth;
        if (!CORBA::is_nil(made.in())) {
            const auto proxy =
                StructuredProxyPushSupplier_var(StructuredProxyPushSupplier::_narrow(made.in()));
            proxy->disconnect_structured_push_supplier();
        }
        EXPECT_EQ(listedConsumers(), 0u) << "allocation " << nth;
        return failed;
    });
    ProxyID id = 0;
    EXPECT_NO_THROW(ProxySupplier_var(admin_->obtain_notification_push_supplier(ANY_EVENT, id)))
        << "the one place is free again";
}

TEST_F(ProxyFaults, LeaveNoIncompleteSupplierProxy) {
    withEachAllocationFailing([this](int nth) {
        ProxyConsumer_var made;
        const bool failed = failsWith(nth, [&] {
            ProxyID id = 0;
            made = supplierAdminServant().obtain_notification_push_consumer(STRUCTURED_EVENT, id);
        });
        if (!CORBA::is_nil(made.in())) {
            const auto proxy =
                StructuredProxyPushConsumer_var(StructuredProxyPushConsumer::_narrow(made.in()));
            proxy->disconnect_structured_push_consumer();
        }
        const ProxyIDSeq_var listed = supplierAdmin_->push_consumers();
        EXPECT_EQ(listed->length(), 0u) << "allocation " << nth;
        return failed;
    });
    ProxyID id = 0;
    EXPECT_NO_THROW(
        ProxyConsumer_var(supplierAdmin_->obtain_notification_push_consumer(ANY_EVENT, id)));
}

TEST_F(ProxyFaults, DoNotPreventTheEndOfAProxy) {
    withEachAllocationFailing([this](int nth) {
        StructuredConsumer& consumer = make<StructuredConsumer>();
        const StructuredProxyPushSupplier_var proxy = structuredProxy();
        connect(proxy.in(), consumer);
        proxy->suspend_connection();
        push(1, 1);
        PortableServer::ServantBase_var pin = kelp::test::channelServant(orb_.root(), proxy.in());
        auto& servant =
            dynamic_cast<POA_CosNotifyChannelAdmin::StructuredProxyPushSupplier&>(*pin.in());
        const bool failed = failsWith(nth, [&] { servant.disconnect_structured_push_supplier(); });
        EXPECT_TRUE(proxy->_non_existent()) << "allocation " << nth;
        EXPECT_TRUE(channel().consumers().empty()) << "allocation " << nth;
        EXPECT_EQ(listedConsumers(), 0u) << "allocation " << nth;
        return failed;
    });
}

TEST_F(ProxyFaults, OfOneConsumerKeepNoEventFromAnother) {
    const EventChannel_var own = channel().reference();
    own->set_admin(property(CosNotification::MaxConsumers, CORBA::Long(0)));
    std::vector<StructuredProxyPushSupplier_var> proxies;
    for (int i = 0; i < 3; ++i) {
        StructuredConsumer& consumer = make<StructuredConsumer>();
        proxies.push_back(structuredProxy());
        connect(proxies.back().in(), consumer);
        proxies.back()->suspend_connection();
    }
    std::uint64_t pushed = 0;
    withEachAllocationFailing([&](int nth) {
        const CosNotification::StructuredEvent next = event(std::to_string(nth));
        const bool failed = failsWith(nth, [&] { channel().push(next); });
        const std::vector<ConsumerCounts> counts = channel().consumers();
        std::uint64_t lost = 0;
        for (const ConsumerCounts& each : counts) {
            EXPECT_EQ(each.sent, counts[0].sent) << "allocation " << nth;
            EXPECT_EQ(each.sent, each.delivered + each.lost + each.queued) << "allocation " << nth;
            lost += each.lost;
        }
        EXPECT_LE(lost, static_cast<std::uint64_t>(nth)) << "one consumer lost the event at most";
        pushed = counts[0].sent;
        return failed;
    });
    EXPECT_GT(pushed, 0u);
}

}  // namespace
}  // namespace kelp::notification::test
