#pragma once

#include <cos/CosNotifyChannelAdmin.h>

#include <memory>
#include <mutex>
#include <optional>

#include "types/type_feed.h"

namespace kelp::notification {

/// A proxy's peer as one who may be told of changes in a feed: of offers when it is a consumer, of
/// subscriptions when it is a supplier. It is told from the time on when it is connected and has
/// asked for it; of what changed between the two as well. Thread safe; its lock is taken outside
/// the feed's.
class Updates {
  public:
    using Mode = CosNotifyChannelAdmin::ObtainInfoMode;

    explicit Updates(std::shared_ptr<TypeFeed> feed) : feed_(std::move(feed)) {}

    /// Answers obtain_offered_types and obtain_subscription_types, and switches updates on or
    /// off. Who was given up is told again after it has asked once more.
    CosNotification::EventTypeSeq* obtain(Mode mode);

    /// The peer is connected; to be called once at most.
    void connect(TypeFeed::Peer peer);
    /// The proxy ends: nothing is told from here on, but for a call in progress.
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
