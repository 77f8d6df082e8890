#pragma once

#include "supplier_part.h"

namespace kelp::notification {

/// The operations that proxy suppliers of every kind have, over the kind's skeleton.
template <class Skeleton>
class ProxySupplierServant : public virtual Skeleton, public SupplierPart {
  public:
    using SupplierPart::SupplierPart;

    // -- ProxySupplier
    CosNotifyChannelAdmin::ProxyType MyType() override { return type(); }
    CosNotifyChannelAdmin::ConsumerAdmin_ptr MyAdmin() override {
        return CosNotifyChannelAdmin::ConsumerAdmin::_duplicate(admin().reference.in());
    }
    CosNotifyFilter::MappingFilter_ptr priority_filter() override { return noMapping(); }
    void priority_filter(CosNotifyFilter::MappingFilter_ptr filter) override { refuseMapping(filter); }
    CosNotifyFilter::MappingFilter_ptr lifetime_filter() override { return noMapping(); }
    void lifetime_filter(CosNotifyFilter::MappingFilter_ptr filter) override { refuseMapping(filter); }
    CosNotification::EventTypeSeq* obtain_offered_types(CosNotifyChannelAdmin::ObtainInfoMode mode) override {
        return offeredTypes(mode);
    }
    void validate_event_qos(const CosNotification::QoSProperties& wanted,
                            CosNotification::NamedPropertyRangeSeq_out available) override {
        available = availableQos(outlet()->qos.get(), wanted);
    }

    // -- QoSAdmin
    CosNotification::QoSProperties* get_qos() override { return asProperties(outlet()->qos.get()); }
    void set_qos(const CosNotification::QoSProperties& wanted) override { setQos(wanted); }
    void validate_qos(const CosNotification::QoSProperties& wanted,
                      CosNotification::NamedPropertyRangeSeq_out available) override {
        available = availableQos(outlet()->qos.get(), wanted);
    }

    // -- FilterAdmin
    CosNotifyFilter::FilterID add_filter(CosNotifyFilter::Filter_ptr filter) override {
        return outlet()->filters.add(filter);
    }
    void remove_filter(CosNotifyFilter::FilterID id) override { outlet()->filters.remove(id); }
    CosNotifyFilter::Filter_ptr get_filter(CosNotifyFilter::FilterID id) override {
        return outlet()->filters.get(id);
    }
    CosNotifyFilter::FilterIDSeq* get_all_filters() override { return outlet()->filters.ids(); }
    void remove_all_filters() override { outlet()->filters.clear(); }

    // -- NotifySubscribe
    void subscription_change(const CosNotification::EventTypeSeq& added,
                             const CosNotification::EventTypeSeq& removed) override {
        outlet()->types.change(added, removed);
    }

  protected:
    PortableServer::Servant servant() override { return this; }

  private:
    static CosNotifyFilter::MappingFilter_ptr noMapping() { return CosNotifyFilter::MappingFilter::_nil(); }
    /// Priorities and lifetimes by filter are not offered.
    static void refuseMapping(CosNotifyFilter::MappingFilter_ptr filter) {
        if (!CORBA::is_nil(filter))
            throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
    }
};

/// A proxy supplier that pushes; its consumer may be told to wait.
template <class Skeleton>
class PushSupplierServant : public ProxySupplierServant<Skeleton> {
  public:
    using ProxySupplierServant<Skeleton>::ProxySupplierServant;
    void suspend_connection() override { this->suspend(); }
    void resume_connection() override { this->resume(); }
};

}  // namespace kelp::notification
