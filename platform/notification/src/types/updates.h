#pragma once

#include <cos/CosNotifyChannelAdmin.h>

#include <memory>
#include <mutex>
#include <optional>

#include "types/type_feed.h"

namespace kelp::notification {

/// The peer of a proxy as a follower of a feed: a consumer follows offers, a supplier follows
/// subscriptions. It is notified once it is connected and has asked for updates, also of changes
/// between these two moments. Thread safe. Its lock is taken before the feed's.
class Updates {
  public:
    using Mode = CosNotifyChannelAdmin::ObtainInfoMode;

    explicit Updates(std::shared_ptr<TypeFeed> feed) : feed_(std::move(feed)) {}

    /// Answer obtain_offered_types and obtain_subscription_types, and switch updates on or off. A
    /// peer that was dropped after a failure follows again if it asks.
    CosNotification::EventTypeSeq* obtain(Mode mode);

    /// Connect the peer. Called once at most.
    void connect(TypeFeed::Peer peer);
    /// The proxy ends: no call begins from here on. A call in progress continues.
    void close();

  private:
    void followIfWanted();
    void unfollow();

    const std::shared_ptr<TypeFeed> feed_;
    std::mutex mutex_;  // guards what follows
    std::optional<TypeFeed::Peer> peer_;
    std::optional<TypeSet> known_;  // by the peer; none: it wants no updates
    std::optional<TypeFeed::FollowerId> follower_;
    bool closed_ = false;
};

}  // namespace kelp::notification
