#include "event_types/updates.h"

#include <utility>

namespace kelp::notification {

using namespace CosNotifyChannelAdmin;

CosNotification::EventTypeSeq* Updates::obtain(Mode mode) {
    const util::MutexLock guard(mutex_);
    TypeSet now = followed_->types();
    CosNotification::EventTypeSeq_var told =
        asSequence(mode == ALL_NOW_UPDATES_ON || mode == ALL_NOW_UPDATES_OFF ? now : TypeSet());
    unfollow();
    known_.reset();
    if (mode == ALL_NOW_UPDATES_ON || mode == NONE_NOW_UPDATES_ON) {
        known_ = std::move(now);
        followIfWanted();
    }
    return told._retn();
}

void Updates::connect(FollowedTypes::Peer peer) {
    const util::MutexLock guard(mutex_);
    peer_ = std::move(peer);
    followIfWanted();
}

void Updates::close() {
    const util::MutexLock guard(mutex_);
    closed_ = true;
    unfollow();
}

void Updates::followIfWanted() {
    if (peer_ && known_ && !closed_)
        follower_ = followed_->follow(*peer_, *known_);
}

void Updates::unfollow() {
    if (follower_)
        followed_->unfollow(*std::exchange(follower_, std::nullopt));
}

}  // namespace kelp::notification
