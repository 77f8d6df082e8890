#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include "channel/admin_data.h"
#include "delivery/subscription.h"
#include "filter/filter_stage.h"
#include "filter/sieve.h"

namespace kelp::notification {

class ChannelCore;

/// One proxy supplier's way out of the channel: what passes the filters goes to its subscription.
/// Events are filtered by the channel's filter stage, in their order.
class Outlet final : public Subscription, public FilterStage::Task {
  public:
    Outlet(ChannelCore& core, std::shared_ptr<AdminData> admin,
           CosNotifyChannelAdmin::ProxyID proxy);

    /// Whose it is. Set once, before the first event.
    void setOwner(OwnerPtr owner) { owner_ = std::move(owner); }
    /// Takes an event, to be filtered if there are filters. One after the other.
    void take(const EventPtr& event);
    /// It ends: nothing is filtered any more.
    void forgetFilters() {
        filters.clear();
        sieve_.clear();
    }
    /// Subscription::isSettled(), and likewise for the events that wait to be filtered.
    bool hasDrained() const;

    // -- Subscription and FilterStage::Task
    std::string ownerKey() const override { return owner_ ? owner_->key() : std::string(); }
    bool work(FilterStage::Clock::time_point until) override;

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
    void beginWork();
    bool isSubscribedTo(const CosNotification::StructuredEvent& event) const;
    bool passes(const Sieve::Item& item);

    ChannelCore& core_;
    const std::shared_ptr<AdminData> admin_;
    const CosNotifyChannelAdmin::ProxyID proxy_;
    OwnerPtr owner_;
    Sieve sieve_;
    /// An evaluation of its filters has spent its budget: the events that they keep waiting are its
    /// own loss.
    std::atomic<bool> isTooCostly_{false};
};

}  // namespace kelp::notification
