// How proxies end: with their admin, through their consumer's silence, and during other calls.

#include "channel_fixture.h"
#include "support/channel_servant.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using testing::ElementsAre;
using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

class Ended {
  public:
    bool isEnded() const { return ended_; }

  protected:
    std::atomic<bool> ended_{false};
};

class StructuredPuller final : public POA_CosNotifyComm::StructuredPullConsumer, public Ended {
  public:
    void disconnect_structured_pull_consumer() override { ended_ = true; }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
};

class SequencePuller final : public POA_CosNotifyComm::SequencePullConsumer, public Ended {
  public:
    void disconnect_sequence_pull_consumer() override { ended_ = true; }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
};

class AnyPuller final : public POA_CosNotifyComm::PullConsumer, public Ended {
  public:
    void disconnect_pull_consumer() override { ended_ = true; }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
};

class StructuredPusher final : public POA_CosNotifyComm::StructuredPushSupplier, public Ended {
  public:
    void disconnect_structured_push_supplier() override { ended_ = true; }
    void subscription_change(const CosNotification::EventTypeSeq&,
                             const CosNotification::EventTypeSeq&) override {}
};

class SequencePusher final : public POA_CosNotifyComm::SequencePushSupplier, public Ended {
  public:
    void disconnect_sequence_push_supplier() override { ended_ = true; }
    void subscription_change(const CosNotification::EventTypeSeq&,
                             const CosNotification::EventTypeSeq&) override {}
};

class AnyPusher final : public POA_CosNotifyComm::PushSupplier, public Ended {
  public:
    void disconnect_push_supplier() override { ended_ = true; }
    void subscription_change(const CosNotification::EventTypeSeq&,
                             const CosNotification::EventTypeSeq&) override {}
};

class ProxyLife : public ChannelFixture {
  protected:
    template <class Reference, class Servant>
    typename Reference::_var_type to(Servant& servant) {
        const CORBA::Object_var object = remote(servant);
        return typename Reference::_var_type(Reference::_narrow(object.in()));
    }
    template <class Interface>
    typename Interface::_var_type puller(const ConsumerAdmin_var& admin, ClientType type) {
        ProxyID id = 0;
        const ProxySupplier_var made = admin->obtain_notification_pull_supplier(type, id);
        return typename Interface::_var_type(Interface::_narrow(made.in()));
    }
    template <class Interface>
    typename Interface::_var_type pusher(const SupplierAdmin_var& admin, ClientType type) {
        ProxyID id = 0;
        const ProxyConsumer_var made = admin->obtain_notification_push_consumer(type, id);
        return typename Interface::_var_type(Interface::_narrow(made.in()));
    }
    /// Return the servant of an object of the channel, to simulate a call that was in progress when
    /// the object ended.
    template <class Skeleton>
    Skeleton* servantOf(CORBA::Object_ptr object) {
        const PortableServer::ServantBase_var servant =
            kelp::test::channelServant(orb_.root(), object);
        pinned_.emplace_back(servant);
        return dynamic_cast<Skeleton*>(servant.in());
    }
    static bool ends(const Ended& peer) {
        return kelp::test::waitUntil([&] { return peer.isEnded(); });
    }
    bool isReviewedAway() {
        return kelp::test::waitUntil([&] {
            channel().review(Clock::now());
            return channel().consumers().empty();
        });
    }

    std::list<PortableServer::ServantBase_var> pinned_;
};

TEST_F(ProxyLife, EndsWithTheAdminWhichDisconnectsConsumersThatPull) {
    const EventChannel_var remoteOne = remoteChannel();
    AdminID id = 0;
    const ConsumerAdmin_var admin = remoteOne->new_for_consumers(AND_OP, id);
    auto& structured = make<StructuredPuller>();
    auto& sequence = make<SequencePuller>();
    auto& any = make<AnyPuller>();
    puller<StructuredProxyPullSupplier>(admin, STRUCTURED_EVENT)
        ->connect_structured_pull_consumer(
            to<CosNotifyComm::StructuredPullConsumer>(structured).in());
    puller<SequenceProxyPullSupplier>(admin, SEQUENCE_EVENT)
        ->connect_sequence_pull_consumer(to<CosNotifyComm::SequencePullConsumer>(sequence).in());
    puller<ProxyPullSupplier>(admin, ANY_EVENT)
        ->connect_any_pull_consumer(to<CosNotifyComm::PullConsumer>(any).in());
    puller<ProxyPullSupplier>(admin, ANY_EVENT)
        ->connect_any_pull_consumer(CosEventComm::PullConsumer::_nil());
    admin->destroy();
    EXPECT_TRUE(ends(structured));
    EXPECT_TRUE(ends(sequence));
    EXPECT_TRUE(ends(any));
    EXPECT_THAT(channel().consumers(), IsEmpty());
}

TEST_F(ProxyLife, EndsWithTheAdminWhichDisconnectsSuppliers) {
    const EventChannel_var remoteOne = remoteChannel();
    AdminID id = 0;
    const SupplierAdmin_var admin = remoteOne->new_for_suppliers(AND_OP, id);
    auto& structured = make<StructuredPusher>();
    auto& sequence = make<SequencePusher>();
    auto& any = make<AnyPusher>();
    const auto proxy = pusher<StructuredProxyPushConsumer>(admin, STRUCTURED_EVENT);
    proxy->connect_structured_push_supplier(
        to<CosNotifyComm::StructuredPushSupplier>(structured).in());
    pusher<SequenceProxyPushConsumer>(admin, SEQUENCE_EVENT)
        ->connect_sequence_push_supplier(to<CosNotifyComm::SequencePushSupplier>(sequence).in());
    pusher<ProxyPushConsumer>(admin, ANY_EVENT)
        ->connect_any_push_supplier(to<CosNotifyComm::PushSupplier>(any).in());
    admin->destroy();
    EXPECT_TRUE(ends(structured));
    EXPECT_TRUE(ends(sequence));
    EXPECT_TRUE(ends(any));
    EXPECT_TRUE(proxy->_non_existent());
}

TEST_F(ProxyLife, IsOverForAConnectThatCameTooLate) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const auto out = StructuredProxyPushSupplier_var(structuredProxy());
    const auto admin = ConsumerAdmin_var(consumers());
    const auto pulled = puller<StructuredProxyPullSupplier>(admin, STRUCTURED_EVENT);
    const auto supplierAdmin = SupplierAdmin_var(suppliers());
    const auto into = pusher<StructuredProxyPushConsumer>(supplierAdmin, STRUCTURED_EVENT);
    auto* outServant = servantOf<POA_CosNotifyChannelAdmin::StructuredProxyPushSupplier>(out.in());
    auto* pulledServant =
        servantOf<POA_CosNotifyChannelAdmin::StructuredProxyPullSupplier>(pulled.in());
    auto* intoServant =
        servantOf<POA_CosNotifyChannelAdmin::StructuredProxyPushConsumer>(into.in());
    out->disconnect_structured_push_supplier();
    pulled->disconnect_structured_pull_supplier();
    into->disconnect_structured_push_consumer();
    EXPECT_THROW(outServant->connect_structured_push_consumer(
                     to<CosNotifyComm::StructuredPushConsumer>(consumer).in()),
                 CORBA::OBJECT_NOT_EXIST);
    EXPECT_THROW(pulledServant->connect_structured_pull_consumer(
                     CosNotifyComm::StructuredPullConsumer::_nil()),
                 CORBA::OBJECT_NOT_EXIST);
    EXPECT_THROW(intoServant->connect_structured_push_supplier(
                     CosNotifyComm::StructuredPushSupplier::_nil()),
                 CORBA::OBJECT_NOT_EXIST);
    pinned_.clear();
}

TEST_F(ProxyLife, DoesNotBeginWithAnAdminThatIsBeingDestroyed) {
    const EventChannel_var remoteOne = remoteChannel();
    const EventChannel_var own = channel().reference();
    own->set_admin(property(CosNotification::MaxConsumers, CORBA::Long(1)));
    own->set_admin(property(CosNotification::MaxSuppliers, CORBA::Long(1)));
    AdminID id = 0;
    const ConsumerAdmin_var admin = remoteOne->new_for_consumers(AND_OP, id);
    const SupplierAdmin_var supplierAdmin = remoteOne->new_for_suppliers(AND_OP, id);
    auto* servant = servantOf<POA_CosNotifyChannelAdmin::ConsumerAdmin>(admin.in());
    auto* supplierServant = servantOf<POA_CosNotifyChannelAdmin::SupplierAdmin>(supplierAdmin.in());
    admin->destroy();
    supplierAdmin->destroy();
    ProxyID proxy = 0;
    EXPECT_THROW(
        ProxySupplier_var(servant->obtain_notification_push_supplier(STRUCTURED_EVENT, proxy)),
        CORBA::OBJECT_NOT_EXIST);
    EXPECT_THROW(ProxySupplier_var(servant->obtain_notification_pull_supplier(ANY_EVENT, proxy)),
                 CORBA::OBJECT_NOT_EXIST);
    EXPECT_THROW(
        ProxyConsumer_var(supplierServant->obtain_notification_push_consumer(ANY_EVENT, proxy)),
        CORBA::OBJECT_NOT_EXIST);
    EXPECT_THAT(channel().consumers(), IsEmpty());
    const auto remaining = ConsumerAdmin_var(consumers());
    EXPECT_NO_THROW(puller<ProxyPullSupplier>(remaining, ANY_EVENT)) << "its place is free again";
    const auto remainingSuppliers = SupplierAdmin_var(suppliers());
    EXPECT_NO_THROW(pusher<ProxyPushConsumer>(remainingSuppliers, ANY_EVENT));
    pinned_.clear();
}

TEST_F(ProxyLife, EndsWhenItsConsumerHasStoppedPulling) {
    settings_.delivery.deadAfter = std::chrono::milliseconds(1);
    const auto admin = ConsumerAdmin_var(consumers());
    const auto proxy = puller<StructuredProxyPullSupplier>(admin, STRUCTURED_EVENT);
    proxy->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
    channel().review(Clock::now() + std::chrono::hours(1));
    EXPECT_EQ(channel().consumers().size(), 1u) << "nothing waits for it";
    push(1, 2);
    EXPECT_TRUE(isReviewedAway());
    EXPECT_THAT(losses_.lost.names(), ElementsAre("1"));
    EXPECT_TRUE(kelp::test::waitUntil([&] { return proxy->_non_existent(); }));
    EXPECT_TRUE(channel().isDrained());
}

}  // namespace
}  // namespace kelp::notification::test
