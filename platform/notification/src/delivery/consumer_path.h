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

/// The path of events from the channel to the consumer of one proxy supplier. The channel's filter
/// stage filters the events in their order. Those that pass go to the subscription.
class ConsumerPath final : public Subscription, public FilterStage::Task {
  public:
    ConsumerPath(ChannelCore& core, std::shared_ptr<AdminData> admin,
                 CosNotifyChannelAdmin::ProxyID proxy);

    /// Set the owner. Called once, before the first event.
    void setOwner(OwnerPtr owner) { owner_ = std::move(owner); }
    /// Queue an event to which the consumer subscribes, after the filters if there are any. Called
    /// for one event after the other.
    void screen(const EventPtr& event);
    /// Remove the filters and the events that wait to be filtered, when the proxy ends.
    void forgetFilters() {
        filters.clear();
        sieve_.clear();
    }
    /// Subscription::isSettled(), and less than half of the events that may wait for filtering do.
    bool hasDrained() const;

    // -- Subscription and FilterStage::Task
    std::string ownerKey() const override { return owner_ ? owner_->key() : std::string(); }
    bool work(FilterStage::Clock::time_point until) override;

    SharedQos qos;
    FilterList filters;
    TypeList types;

    void applyQos(const Qos& qos);
    /// The types that both the admin and the proxy subscribe to.
    TypeSet subscribedTypes() const { return narrowed(types.types(), admin_->types.types()); }
    ConsumerSubscription description() const;
    AdminData& admin() { return *admin_; }
    CosNotifyChannelAdmin::ProxyID proxy() const { return proxy_; }

  private:
    void eventsLost(const Event& first) override;
    void consumerDied(const std::string& why) override;
    void beginWork();
    bool isSubscribedTo(const kelp::orb::EventView& event) const;
    bool passes(const Sieve::Item& item);

    ChannelCore& core_;
    const std::shared_ptr<AdminData> admin_;
    const CosNotifyChannelAdmin::ProxyID proxy_;
    OwnerPtr owner_;
    Sieve sieve_;
    /// An evaluation of its filters has exceeded its budget. From then on, events dropped because
    /// too many wait to be filtered count as the consumer's own doing.
    std::atomic<bool> isTooCostly_{false};
};

}  // namespace kelp::notification
