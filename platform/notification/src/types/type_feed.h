#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "types/type_set.h"

namespace kelp::notification {

class ChangeNotices;

/// A set of event types and the peers who are told when it changes. A peer is told how the set
/// differs from what it knows when its turn comes, so any number of changes meanwhile are one call,
/// or none when they cancel out.
///
/// A peer whose call raises a system exception (it does not answer, is gone, or has no such
/// operation) is traced and told no more; one that raises InvalidEventType goes on being told.
///
/// Thread safe; its lock is taken inside those of its users.
class TypeFeed : public std::enable_shared_from_this<TypeFeed> {
  public:
    using FollowerId = std::int32_t;
    static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

    /// A peer as it is called and as it is named in traces. The call is made without a lock, by the
    /// thread of the notices, under their time-out; it may raise anything of CORBA.
    struct Peer {
        std::string name;
        std::function<void(const CosNotification::EventTypeSeq& added,
                           const CosNotification::EventTypeSeq& removed)>
            tell;
    };

    /// `notices` outlives the feed's users.
    TypeFeed(ChangeNotices& notices, TypeSet initial, std::size_t followersMax = kNoLimit);

    TypeSet types() const;
    /// The set from here on.
    void publish(TypeSet types);

    /// From here on the peer, which knows these types, is told of changes; at once if they differ
    /// already. Throws NO_RESOURCES for one peer too many.
    FollowerId follow(Peer peer, const TypeSet& known);
    /// False when there is none (any more). A call in progress is not waited for.
    bool unfollow(FollowerId id);
    std::vector<FollowerId> followers() const;

    /// Tells one peer who is behind; false when there is none. For the thread of the notices.
    bool tellNext();

  private:
    using Types = std::shared_ptr<const TypeSet>;
    struct Follower {
        std::shared_ptr<const Peer> peer;
        Types known;
    };
    using Followers = std::map<FollowerId, Follower>;

    Followers::iterator nextBehind();

    ChangeNotices& notices_;
    const std::size_t followersMax_;
    mutable std::mutex mutex_;  // guards what follows
    Types types_;
    Followers followers_;
    FollowerId lastId_ = 0;
    FollowerId lastTold_ = 0;
};

}  // namespace kelp::notification
