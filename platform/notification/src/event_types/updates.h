#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <kelp/util/mutex.h>

#include <memory>
#include <optional>

#include "event_types/followed_types.h"

namespace kelp::notification {

/// The peer of a proxy as a follower of event types: a consumer follows offers, a supplier follows
/// subscriptions. It is notified once it is connected and has asked for updates, also of changes
/// between these two moments. Thread safe. Its lock is taken before the followed types'.
class Updates {
  public:
    using Mode = CosNotifyChannelAdmin::ObtainInfoMode;

    explicit Updates(std::shared_ptr<FollowedTypes> followed) : followed_(std::move(followed)) {}

    /// Answer obtain_offered_types and obtain_subscription_types, and switch updates on or off. A
    /// peer that was dropped after a failure follows again if it asks.
    CosNotification::EventTypeSeq* obtain(Mode mode) KELP_EXCLUDES(mutex_);

    /// Connect the peer. Called once at most.
    void connect(FollowedTypes::Peer peer) KELP_EXCLUDES(mutex_);
    /// The proxy ends: no call begins from here on. A call in progress continues.
    void close() KELP_EXCLUDES(mutex_);

  private:
    void followIfWanted() KELP_REQUIRES(mutex_);
    void unfollow() KELP_REQUIRES(mutex_);

    const std::shared_ptr<FollowedTypes> followed_;
    util::Mutex mutex_{util::LockRank::ChannelPart, "Updates::mutex_"};
    std::optional<FollowedTypes::Peer> peer_ KELP_GUARDED_BY(mutex_);
    std::optional<TypeSet> known_
        KELP_GUARDED_BY(mutex_);  // by the peer; none: it wants no updates
    std::optional<FollowedTypes::FollowerId> follower_ KELP_GUARDED_BY(mutex_);
    bool closed_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::notification
