#pragma once

#include "delivery/subscription.h"

namespace kelp::notification::test {

/// A subscription whose channel ignores losses.
class QuietSubscription final : public Subscription {
  public:
    using Subscription::Subscription;
    std::string ownerKey() const override { return owner; }

    std::string owner;

  private:
    void eventsLost(const Event&) override {}
    void consumerDied(const std::string&) override {}
};

}  // namespace kelp::notification::test
