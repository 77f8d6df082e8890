#pragma once

#include <kelp/util/mutex.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "event_types/type_set.h"

namespace kelp::notification {

class ChangeNotices;

/// A set of event types and the peers that follow it. A peer is notified of the difference between
/// the set and what the peer knows at that moment. Any number of earlier changes are therefore one
/// call, or none if they cancel out.
///
/// A peer whose call raises a system exception (no answer, gone, no such operation) is traced and
/// stops following. A peer that raises InvalidEventType continues to follow.
///
/// Thread safe. Its lock is taken inside those of its users.
class FollowedTypes : public std::enable_shared_from_this<FollowedTypes> {
  public:
    using FollowerId = std::int32_t;
    static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

    /// A peer: its name for traces and the call to it. The call is made without a lock, by the
    /// thread of the notices, with their time-out. It may raise any CORBA exception.
    struct Peer {
        std::string name;
        std::function<void(const CosNotification::EventTypeSeq& added,
                           const CosNotification::EventTypeSeq& removed)>
            tell;
    };

    /// `notices` must outlive the users of this object.
    FollowedTypes(ChangeNotices& notices, TypeSet initial, std::size_t followersMax = kNoLimit);

    TypeSet types() const KELP_EXCLUDES(mutex_);
    /// Replace the set and schedule the peers that have to be notified.
    void publish(TypeSet types) KELP_EXCLUDES(mutex_);

    /// Add a peer that knows the types `known`. It is notified at once if the set differs, later
    /// after each change. Throws NO_RESOURCES if there are too many peers.
    FollowerId follow(Peer peer, const TypeSet& known) KELP_EXCLUDES(mutex_);
    /// Remove a peer. False if it does not follow. Does not wait for a call in progress.
    bool unfollow(FollowerId id) KELP_EXCLUDES(mutex_);
    std::vector<FollowerId> followers() const KELP_EXCLUDES(mutex_);

    /// Notify one peer that does not know the current set. False if all know it. Called by the
    /// thread of the notices.
    bool tellNext() KELP_EXCLUDES(mutex_);

  private:
    using Types = std::shared_ptr<const TypeSet>;
    struct Follower {
        std::shared_ptr<const Peer> peer;
        Types known;
    };
    using Followers = std::map<FollowerId, Follower>;

    Followers::iterator nextBehind() KELP_REQUIRES(mutex_);

    ChangeNotices& notices_;
    const std::size_t followersMax_;
    mutable util::Mutex mutex_{util::LockRank::ChannelTypes, "FollowedTypes::mutex_"};
    Types types_ KELP_GUARDED_BY(mutex_);
    Followers followers_ KELP_GUARDED_BY(mutex_);
    FollowerId lastId_ KELP_GUARDED_BY(mutex_) = 0;
    FollowerId lastTold_ KELP_GUARDED_BY(mutex_) = 0;
};

}  // namespace kelp::notification
