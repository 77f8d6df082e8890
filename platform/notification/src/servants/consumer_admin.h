#pragma once

#include "qos_and_filters.h"
#include "supplier_part.h"

namespace kelp::notification {

/// A group of consumers that share filters and qualities of service.
class ConsumerAdminServant final
    : public QosAndFilters<POA_CosNotifyChannelAdmin::ConsumerAdmin>,
      public WithoutMappingFilters<POA_CosNotifyChannelAdmin::ConsumerAdmin>,
      public Owned {
  public:
    /// Called when a client destroys the admin, or it is dropped with its owner.
    using OnDestroy = std::function<void(CosNotifyChannelAdmin::AdminID)>;

    ConsumerAdminServant(std::shared_ptr<ChannelCore> core, std::shared_ptr<ConsumerAdminData> data,
                         CosNotifyChannelAdmin::EventChannel_ptr channel, KeyedPlaces::Place place,
                         OnDestroy onDestroy);

    /// End the admin and its proxies.
    void close(SupplierPart::Consumer consumers);
    const OwnerPtr& owner() const { return data_->owner; }

    // -- Owned
    Kind ownedKind() const override { return Kind::Admin; }
    /// False while the admin has a proxy. Its owner's proxies are dropped before.
    bool drop() override;

    // -- ConsumerAdmin
    CosNotifyChannelAdmin::AdminID MyID() override { return data_->id; }
    CosNotifyChannelAdmin::EventChannel_ptr MyChannel() override;
    CosNotifyChannelAdmin::InterFilterGroupOperator MyOperator() override { return data_->op; }
    CosNotifyChannelAdmin::ProxyIDSeq* pull_suppliers() override;
    CosNotifyChannelAdmin::ProxyIDSeq* push_suppliers() override;
    CosNotifyChannelAdmin::ProxySupplier_ptr get_proxy_supplier(
        CosNotifyChannelAdmin::ProxyID id) override;
    CosNotifyChannelAdmin::ProxySupplier_ptr obtain_notification_pull_supplier(
        CosNotifyChannelAdmin::ClientType type, CosNotifyChannelAdmin::ProxyID_out id) override;
    CosNotifyChannelAdmin::ProxySupplier_ptr obtain_notification_push_supplier(
        CosNotifyChannelAdmin::ClientType type, CosNotifyChannelAdmin::ProxyID_out id) override;
    /// Throws NO_PERMISSION for the default admin.
    void destroy() override;

    // -- CosEventChannelAdmin::ConsumerAdmin
    CosEventChannelAdmin::ProxyPushSupplier_ptr obtain_push_supplier() override;
    CosEventChannelAdmin::ProxyPullSupplier_ptr obtain_pull_supplier() override;

    // -- NotifySubscribe
    void subscription_change(const CosNotification::EventTypeSeq& added,
                             const CosNotification::EventTypeSeq& removed) override {
        data_->types.change(added, removed);
        core_->subscriptionsChanged();
    }

  protected:
    SharedQos& sharedQos() override { return data_->qos; }
    FilterList& filterList() override { return data_->filters; }
    ChannelCore& channelCore() override { return *core_; }

  private:
    template <class Servant>
    CORBA::Object_ptr make(CosNotifyChannelAdmin::ProxyType type,
                           CosNotifyChannelAdmin::ProxyID& id);

    const std::shared_ptr<ChannelCore> core_;
    const std::shared_ptr<ConsumerAdminData> data_;
    const CosNotifyChannelAdmin::EventChannel_var channel_;
    const OnDestroy onDestroy_;
    KeyedPlaces::Place place_;  ///< released by close()
    std::atomic<bool> closed_{false};
};

}  // namespace kelp::notification
