#pragma once

#include "qos_and_filters.h"
#include "supplier_part.h"

namespace kelp::notification {

/// The operations that the proxy suppliers of all kinds have, on top of the kind's skeleton.
template <class Skeleton>
class ProxySupplierServant : public QosAndFilters<Skeleton>,
                             public WithoutMappingFilters<Skeleton>,
                             public SupplierPart {
  public:
    using SupplierPart::SupplierPart;

    // -- ProxySupplier
    CosNotifyChannelAdmin::ProxyType MyType() override { return type(); }
    CosNotifyChannelAdmin::ConsumerAdmin_ptr MyAdmin() override {
        return CosNotifyChannelAdmin::ConsumerAdmin::_duplicate(admin().reference.in());
    }
    CosNotification::EventTypeSeq* obtain_offered_types(
        CosNotifyChannelAdmin::ObtainInfoMode mode) override {
        return offeredTypes(mode);
    }
    void validate_event_qos(const CosNotification::QoSProperties& wanted,
                            CosNotification::NamedPropertyRangeSeq_out available) override {
        available = availableEventQos(path()->qos.get(), wanted);
    }

    // -- NotifySubscribe
    void subscription_change(const CosNotification::EventTypeSeq& added,
                             const CosNotification::EventTypeSeq& removed) override {
        subscribe(added, removed);
    }

  protected:
    PortableServer::Servant servant() override { return this; }
    SharedQos& sharedQos() override { return path()->qos; }
    FilterList& filterList() override { return path()->filters; }
    ChannelCore& channelCore() override { return core(); }
    void qosChanged(const Qos& qos) override { path()->applyQos(qos); }
};

/// A proxy supplier that pushes. Its connection can be suspended.
template <class Skeleton>
class PushSupplierServant : public ProxySupplierServant<Skeleton> {
  public:
    using ProxySupplierServant<Skeleton>::ProxySupplierServant;
    void suspend_connection() override { this->suspend(); }
    void resume_connection() override { this->resume(); }
};

}  // namespace kelp::notification
