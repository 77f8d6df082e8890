#pragma once

#include <functional>

#include "consumer_part.h"
#include "qos_and_filters.h"

namespace kelp::notification {

/// A group of suppliers outside this process that share filters. The suppliers push. The channel
/// does not pull from suppliers.
class SupplierAdminServant final : public QosAndFilters<POA_CosNotifyChannelAdmin::SupplierAdmin>,
                                   public Owned {
  public:
    /// Called when a client destroys the admin, or it is dropped with its owner.
    using OnDestroy = std::function<void(CosNotifyChannelAdmin::AdminID)>;

    SupplierAdminServant(std::shared_ptr<ChannelCore> core, std::shared_ptr<SupplierAdminData> data,
                         CosNotifyChannelAdmin::EventChannel_ptr channel, KeyedPlaces::Place place,
                         OnDestroy onDestroy);

    /// End the admin and its proxies.
    void close(ConsumerPart::Supplier suppliers);
    const OwnerPtr& owner() const { return data_->owner; }

    // -- Owned
    Kind ownedKind() const override { return Kind::Admin; }
    /// False while the admin has a proxy. Its owner's proxies are dropped before.
    bool drop() override;

    // -- SupplierAdmin
    CosNotifyChannelAdmin::AdminID MyID() override { return data_->id; }
    CosNotifyChannelAdmin::EventChannel_ptr MyChannel() override;
    CosNotifyChannelAdmin::InterFilterGroupOperator MyOperator() override { return data_->op; }
    CosNotifyChannelAdmin::ProxyIDSeq* pull_consumers() override;
    CosNotifyChannelAdmin::ProxyIDSeq* push_consumers() override;
    CosNotifyChannelAdmin::ProxyConsumer_ptr get_proxy_consumer(
        CosNotifyChannelAdmin::ProxyID id) override;
    CosNotifyChannelAdmin::ProxyConsumer_ptr obtain_notification_pull_consumer(
        CosNotifyChannelAdmin::ClientType type, CosNotifyChannelAdmin::ProxyID_out id) override;
    CosNotifyChannelAdmin::ProxyConsumer_ptr obtain_notification_push_consumer(
        CosNotifyChannelAdmin::ClientType type, CosNotifyChannelAdmin::ProxyID_out id) override;
    /// Throws NO_PERMISSION for the default admin.
    void destroy() override;

    // -- CosEventChannelAdmin::SupplierAdmin
    CosEventChannelAdmin::ProxyPushConsumer_ptr obtain_push_consumer() override;
    CosEventChannelAdmin::ProxyPullConsumer_ptr obtain_pull_consumer() override;

    // -- NotifyPublish
    void offer_change(const CosNotification::EventTypeSeq& added,
                      const CosNotification::EventTypeSeq& removed) override {
        core_->offers().change(offerer_, added, removed);
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
    const std::shared_ptr<SupplierAdminData> data_;
    const CosNotifyChannelAdmin::EventChannel_var channel_;
    const OnDestroy onDestroy_;
    KeyedPlaces::Place place_;  ///< released by close()
    const Offers::OffererId offerer_;
    std::atomic<bool> closed_{false};
};

}  // namespace kelp::notification
