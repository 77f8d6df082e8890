#include "events/supplier_connection.h"

#include <kelp/orb/references.h>

#include <algorithm>

#include "orb/call_failure.h"

namespace NS_CORBA {

namespace {

using namespace CosNotifyChannelAdmin;

/// Maximum events in one call. Saves round trips when events have piled up, and keeps each call
/// within the limits of any service.
constexpr std::size_t kBatchMax = 50;

class SequenceConnection final : public SupplierConnection {
  public:
    explicit SequenceConnection(SequenceProxyPushConsumer_ptr proxy)
        : proxy_(SequenceProxyPushConsumer::_duplicate(proxy)) {}
    std::size_t batchMax() const override { return kBatchMax; }
    void push(const std::vector<StructuredEventPtr>& events) override {
        CosNotification::EventBatch batch;
        batch.length(static_cast<CORBA::ULong>(events.size()));
        for (CORBA::ULong i = 0; i < batch.length(); ++i)
            batch[i] = *events[i];
        proxy_->push_structured_events(batch);
    }
    void disconnect() override { proxy_->disconnect_sequence_push_consumer(); }

  private:
    ProxyConsumer_ptr proxy() const override { return proxy_.in(); }
    const SequenceProxyPushConsumer_var proxy_;
};

class StructuredConnection final : public SupplierConnection {
  public:
    explicit StructuredConnection(StructuredProxyPushConsumer_ptr proxy)
        : proxy_(StructuredProxyPushConsumer::_duplicate(proxy)) {}
    std::size_t batchMax() const override { return 1; }
    void push(const std::vector<StructuredEventPtr>& events) override {
        for (const StructuredEventPtr& each : events)
            proxy_->push_structured_event(*each);
    }
    void disconnect() override { proxy_->disconnect_structured_push_consumer(); }

  private:
    ProxyConsumer_ptr proxy() const override { return proxy_.in(); }
    const StructuredProxyPushConsumer_var proxy_;
};

/// Return the oldest channel, because it is the one that consumers know. Factories number channels
/// upwards. A factory without channels creates one.
EventChannel_ptr eldestOf(EventChannelFactory_ptr factory, const BoundedCalls& calls) {
    const ChannelIDSeq_var ids = calls([&] { return factory->get_all_channels(); });
    if (ids->length() > 0) {
        const ChannelID* const first = ids->get_buffer();
        const ChannelID eldest = *std::min_element(first, first + ids->length());
        return calls([&] { return factory->get_event_channel(eldest); });
    }
    ChannelID made = 0;
    return calls([&] {
        return factory->create_channel(CosNotification::QoSProperties(),
                                       CosNotification::AdminProperties(), made);
    });
}

EventChannel_ptr channelAt(CORBA::Object_ptr object, const BoundedCalls& calls) {
    EventChannel_var channel = calls([&] { return EventChannel::_narrow(object); });
    if (!CORBA::is_nil(channel.in()))
        return channel._retn();
    const EventChannelFactory_var factory =
        calls([&] { return EventChannelFactory::_narrow(object); });
    if (CORBA::is_nil(factory.in()))
        throw SupplierConnection::NoChannel(
            "what answers there is neither an EventChannel nor an "
            "EventChannelFactory");
    channel = eldestOf(factory.in(), calls);
    if (CORBA::is_nil(channel.in()))
        throw SupplierConnection::NoChannel("the factory gives no channel");
    return channel._retn();
}

/// Return the channel's own reference to itself: the address that we were given may be valid on
/// this machine only.
EventChannel_ptr ownNameOf(EventChannel_ptr channel, SupplierAdmin_ptr admin,
                           const BoundedCalls& calls) {
    EventChannel_var own;
    try {
        own = calls([&] { return admin->MyChannel(); });
    } catch (const CORBA::SystemException& failure) {
        if (kindOf(failure) != CallFailure::Refused)
            throw;
    }
    return CORBA::is_nil(own.in()) ? EventChannel::_duplicate(channel) : own._retn();
}

/// Return nil when the channel has no proxies of this type.
ProxyConsumer_ptr obtain(SupplierAdmin_ptr admin, ClientType type, const BoundedCalls& calls) {
    try {
        ProxyID id = 0;
        return calls([&] { return admin->obtain_notification_push_consumer(type, id); });
    } catch (const CORBA::SystemException& failure) {
        if (kindOf(failure) != CallFailure::Refused)
            throw;
        return ProxyConsumer::_nil();
    }
}

/// Connect as a supplier without an object: the channel has nobody to call back, and does not need
/// to.
std::unique_ptr<SupplierConnection> connect(SupplierAdmin_ptr admin, const BoundedCalls& calls) {
    ProxyConsumer_var proxy = obtain(admin, SEQUENCE_EVENT, calls);
    if (!CORBA::is_nil(proxy.in())) {
        const SequenceProxyPushConsumer_var sequence =
            calls([&] { return SequenceProxyPushConsumer::_narrow(proxy.in()); });
        if (!CORBA::is_nil(sequence.in())) {
            calls([&] {
                sequence->connect_sequence_push_supplier(
                    CosNotifyComm::SequencePushSupplier::_nil());
            });
            return std::make_unique<SequenceConnection>(sequence.in());
        }
    }
    proxy = obtain(admin, STRUCTURED_EVENT, calls);
    const StructuredProxyPushConsumer_var structured =
        CORBA::is_nil(proxy.in())
            ? StructuredProxyPushConsumer::_nil()
            : calls([&] { return StructuredProxyPushConsumer::_narrow(proxy.in()); });
    if (CORBA::is_nil(structured.in()))
        throw SupplierConnection::NoChannel(
            "the channel takes no structured events from suppliers");
    calls([&] {
        structured->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
    });
    return std::make_unique<StructuredConnection>(structured.in());
}

}  // namespace

std::unique_ptr<SupplierConnection> SupplierConnection::make(CORBA::ORB_ptr orb,
                                                             const std::string& address,
                                                             const BoundedCalls& calls) {
    const CORBA::Object_var object = calls([&] { return kelp::orb::toReference(orb, address); });
    const EventChannel_var channel = channelAt(object.in(), calls);
    const SupplierAdmin_var admin = calls([&] { return channel->default_supplier_admin(); });
    if (CORBA::is_nil(admin.in()))
        throw NoChannel("the channel has no admin for suppliers");
    std::unique_ptr<SupplierConnection> made = connect(admin.in(), calls);
    made->address_ = address;
    made->channel_ = ownNameOf(channel.in(), admin.in(), calls);
    return made;
}

}  // namespace NS_CORBA
