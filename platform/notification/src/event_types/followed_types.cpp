#include "event_types/followed_types.h"

#include <kelp/orb/exception_text.h>
#include <kelp/util/trace_log.h>

#include "event_types/change_notices.h"

namespace kelp::notification {

namespace {

void traceTypes(const std::string& text) {
    kelp::util::traceFrom("typefeed", text, kelp::util::TraceKind::Exception);
}

}  // namespace

FollowedTypes::FollowedTypes(ChangeNotices& notices, TypeSet initial, std::size_t followersMax)
    : notices_(notices),
      followersMax_(followersMax),
      types_(std::make_shared<const TypeSet>(std::move(initial))) {}

TypeSet FollowedTypes::types() const {
    const util::MutexLock guard(mutex_);
    return *types_;
}

void FollowedTypes::publish(TypeSet types) {
    const util::MutexLock guard(mutex_);
    if (*types_ == types)
        return;
    types_ = std::make_shared<const TypeSet>(std::move(types));
    if (!followers_.empty())
        notices_.schedule(shared_from_this());
}

FollowedTypes::FollowerId FollowedTypes::follow(Peer peer, const TypeSet& known) {
    const util::MutexLock guard(mutex_);
    if (followers_.size() >= followersMax_)
        throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    const bool isBehind = *types_ != known;
    followers_[++lastId_] = {std::make_shared<const Peer>(std::move(peer)),
                             isBehind ? std::make_shared<const TypeSet>(known) : types_};
    if (isBehind)
        notices_.schedule(shared_from_this());
    return lastId_;
}

bool FollowedTypes::unfollow(FollowerId id) {
    Followers::node_type gone;  // releases its reference without the lock
    const util::MutexLock guard(mutex_);
    gone = followers_.extract(id);
    return !gone.empty();
}

std::vector<FollowedTypes::FollowerId> FollowedTypes::followers() const {
    const util::MutexLock guard(mutex_);
    std::vector<FollowerId> ids;
    for (const auto& [id, follower] : followers_)
        ids.push_back(id);
    return ids;
}

FollowedTypes::Followers::iterator FollowedTypes::nextBehind() {
    // starts after the last one notified, so that no follower is left out while the set changes all
    // the time
    auto each = followers_.upper_bound(lastTold_);
    for (std::size_t left = followers_.size(); left > 0; --left, ++each) {
        if (each == followers_.end())
            each = followers_.begin();
        Types& known = each->second.known;
        if (known == types_)
            continue;
        if (*known != *types_)
            return each;
        known = types_;
    }
    return followers_.end();
}

bool FollowedTypes::tellNext() {
    std::shared_ptr<const Peer> peer;
    CosNotification::EventTypeSeq_var added;
    CosNotification::EventTypeSeq_var removed;
    FollowerId id = 0;
    {
        const util::MutexLock guard(mutex_);
        const auto found = nextBehind();
        if (found == followers_.end())
            return false;
        id = lastTold_ = found->first;
        peer = found->second.peer;
        added = asSequence(without(*types_, *found->second.known));
        removed = asSequence(without(*found->second.known, *types_));
        found->second.known = types_;
    }
    try {
        peer->tell(added.in(), removed.in());
    } catch (const CosNotifyComm::InvalidEventType& refused) {
        traceTypes(peer->name +
                   " does not take a change of event types: " + kelp::orb::exceptionText(refused));
    } catch (const CORBA::Exception& failure) {
        unfollow(id);
        traceTypes(peer->name + " receives no more changes of event types: " +
                   kelp::orb::exceptionText(failure));
    }
    return true;
}

}  // namespace kelp::notification
