#pragma once

#include "channel/admin_data.h"
#include "channel/channel_core.h"

namespace kelp::notification {

/// QoSAdmin and FilterAdmin for admins and proxies of all kinds, on top of the kind's skeleton.
template <class Skeleton>
class QosAndFilters : public virtual Skeleton {
  public:
    // -- QoSAdmin
    CosNotification::QoSProperties* get_qos() override {
        return asProperties(sharedQos().get(), sharedQos().side());
    }
    void set_qos(const CosNotification::QoSProperties& wanted) override {
        sharedQos().change(wanted, [this](const Qos& qos) { qosChanged(qos); });
    }
    void validate_qos(const CosNotification::QoSProperties& wanted,
                      CosNotification::NamedPropertyRangeSeq_out available) override {
        available = availableQos(sharedQos().get(), wanted, sharedQos().side());
    }

    // -- FilterAdmin
    CosNotifyFilter::FilterID add_filter(CosNotifyFilter::Filter_ptr filter) override {
        const PortableServer::ServantBase_var servant = channelCore().requireOwn(filter);
        return filterList().add(filter, servant.in());
    }
    void remove_filter(CosNotifyFilter::FilterID id) override { filterList().remove(id); }
    CosNotifyFilter::Filter_ptr get_filter(CosNotifyFilter::FilterID id) override {
        return filterList().get(id);
    }
    CosNotifyFilter::FilterIDSeq* get_all_filters() override { return filterList().ids(); }
    void remove_all_filters() override { filterList().clear(); }

  protected:
    virtual SharedQos& sharedQos() = 0;
    virtual FilterList& filterList() = 0;
    virtual ChannelCore& channelCore() = 0;
    /// The qualities have been changed to these. Called for one change after the other.
    virtual void qosChanged(const Qos&) {}
};

/// Priority and lifetime filters, which are not offered: the attributes are nil, and setting
/// another value raises NO_IMPLEMENT.
template <class Skeleton>
class WithoutMappingFilters : public virtual Skeleton {
  public:
    CosNotifyFilter::MappingFilter_ptr priority_filter() override { return none(); }
    void priority_filter(CosNotifyFilter::MappingFilter_ptr filter) override { refuse(filter); }
    CosNotifyFilter::MappingFilter_ptr lifetime_filter() override { return none(); }
    void lifetime_filter(CosNotifyFilter::MappingFilter_ptr filter) override { refuse(filter); }

  private:
    static CosNotifyFilter::MappingFilter_ptr none() {
        return CosNotifyFilter::MappingFilter::_nil();
    }
    static void refuse(CosNotifyFilter::MappingFilter_ptr filter) {
        if (!CORBA::is_nil(filter))
            throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
    }
};

}  // namespace kelp::notification
