#pragma once

#include <kelp/orb/event_intake.h>

#include <span>

#include "channel/peers.h"
#include "consumer_part.h"
#include "qos_and_filters.h"

namespace kelp::notification {

/// The operations that the proxy consumers of all kinds have, on top of the kind's skeleton.
template <class Skeleton>
class ProxyConsumerServant : public QosAndFilters<Skeleton>, public ConsumerPart {
  public:
    using ConsumerPart::ConsumerPart;

    // -- ProxyConsumer
    CosNotifyChannelAdmin::ProxyType MyType() override { return type(); }
    CosNotifyChannelAdmin::SupplierAdmin_ptr MyAdmin() override {
        return CosNotifyChannelAdmin::SupplierAdmin::_duplicate(admin().reference.in());
    }
    CosNotification::EventTypeSeq* obtain_subscription_types(
        CosNotifyChannelAdmin::ObtainInfoMode mode) override {
        return subscribedTypes(mode);
    }
    void validate_event_qos(const CosNotification::QoSProperties& wanted,
                            CosNotification::NamedPropertyRangeSeq_out available) override {
        available = availableEventQos(qos.get(), wanted);
    }

    // -- NotifyPublish
    void offer_change(const CosNotification::EventTypeSeq& added,
                      const CosNotification::EventTypeSeq& removed) override {
        offer(added, removed);
    }

  protected:
    PortableServer::Servant servant() override { return this; }
    SharedQos& sharedQos() override { return qos; }
    FilterList& filterList() override { return filters; }
    ChannelCore& channelCore() override { return core(); }
};

class StructuredPushConsumer final
    : public ProxyConsumerServant<
          kelp::orb::EncodedPushConsumer<POA_CosNotifyChannelAdmin::StructuredProxyPushConsumer>> {
  public:
    using ProxyConsumerServant::ProxyConsumerServant;
    void connect_structured_push_supplier(
        CosNotifyComm::StructuredPushSupplier_ptr supplier) override {
        connect(supplier,
                farewellTo<CosNotifyComm::StructuredPushSupplier>(
                    supplier, [](auto peer) { peer->disconnect_structured_push_supplier(); }));
    }
    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        accept(makeEvent(event, eventDefaults()));
    }
    void pushEncoded(std::span<kelp::orb::EncodedEvent> events) override { acceptAll(events); }
    void disconnect_structured_push_consumer() override { close(Supplier::IsNotTold); }
};

class SequencePushConsumer final
    : public ProxyConsumerServant<
          kelp::orb::EncodedPushConsumer<POA_CosNotifyChannelAdmin::SequenceProxyPushConsumer>> {
  public:
    using ProxyConsumerServant::ProxyConsumerServant;
    void connect_sequence_push_supplier(CosNotifyComm::SequencePushSupplier_ptr supplier) override {
        connect(supplier, farewellTo<CosNotifyComm::SequencePushSupplier>(supplier, [](auto peer) {
                    peer->disconnect_sequence_push_supplier();
                }));
    }
    void push_structured_events(const CosNotification::EventBatch& batch) override {
        const EventDefaults defaults = eventDefaults();
        for (CORBA::ULong i = 0; i < batch.length(); ++i)
            accept(makeEvent(batch[i], defaults));
    }
    void pushEncoded(std::span<kelp::orb::EncodedEvent> events) override { acceptAll(events); }
    void disconnect_sequence_push_consumer() override { close(Supplier::IsNotTold); }
};

class AnyPushConsumer final
    : public ProxyConsumerServant<POA_CosNotifyChannelAdmin::ProxyPushConsumer> {
  public:
    using ProxyConsumerServant::ProxyConsumerServant;
    void connect_any_push_supplier(CosEventComm::PushSupplier_ptr supplier) override {
        connect(supplier, farewellTo<CosEventComm::PushSupplier>(
                              supplier, [](auto peer) { peer->disconnect_push_supplier(); }));
    }
    void push(const CORBA::Any& event) override { accept(makeEvent(event, eventDefaults())); }
    void disconnect_push_consumer() override { close(Supplier::IsNotTold); }
};

}  // namespace kelp::notification
