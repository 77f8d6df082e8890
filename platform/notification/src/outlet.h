#pragma once

#include "admin_data.h"
#include "subscription.h"

#include <memory>

namespace kelp::notification {

class ChannelCore;

/// One proxy supplier's way out of the channel: what passes the filters goes to its subscription.
class Outlet final : public Subscription {
  public:
    Outlet(ChannelCore& core, std::shared_ptr<AdminData> admin, CosNotifyChannelAdmin::ProxyID proxy);

    /// Filters an event and takes it in.
    void take(const EventPtr& event);

    SharedQos qos;
    FilterList filters;
    TypeList types;

    void applyQos(const Qos& qos);
    /// What both the admin and the proxy subscribe to.
    TypeSet subscribedTypes() const { return narrowed(types.types(), admin_->types.types()); }
    AdminData& admin() { return *admin_; }
    CosNotifyChannelAdmin::ProxyID proxy() const { return proxy_; }

  private:
    void eventsLost(const Event& first) override;
    void consumerDied(const std::string& why) override;
    bool passes(const CosNotification::StructuredEvent& event) const;

    ChannelCore& core_;
    const std::shared_ptr<AdminData> admin_;
    const CosNotifyChannelAdmin::ProxyID proxy_;
};

}  // namespace kelp::notification
