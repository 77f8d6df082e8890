#pragma once

#include <kelp/util/mutex.h>

#include <map>
#include <memory>

#include "event_types/followed_types.h"

namespace kelp::notification {

/// The event types that suppliers offer: one set for each proxy consumer and each supplier admin,
/// and their union, which is every type while nobody offers anything. Thread safe. Its lock is
/// taken before the followed types'.
class Offers {
  public:
    using OffererId = int;

    /// Publishes the union of all offers in `followed`.
    explicit Offers(std::shared_ptr<FollowedTypes> followed) : followed_(std::move(followed)) {}

    OffererId enter() KELP_EXCLUDES(mutex_);
    /// Change the offers of one offerer, completely or not at all. Throws what changedTypes throws,
    /// and OBJECT_NOT_EXIST if the offerer has left.
    void change(OffererId offerer, const CosNotification::EventTypeSeq& added,
                const CosNotification::EventTypeSeq& removed) KELP_EXCLUDES(mutex_);
    /// Remove the offerer and its offers. Does nothing the second time.
    void leave(OffererId offerer) KELP_EXCLUDES(mutex_);

  private:
    void publish() KELP_REQUIRES(mutex_);

    const std::shared_ptr<FollowedTypes> followed_;
    util::Mutex mutex_{util::LockRank::ChannelPart, "Offers::mutex_"};
    std::map<OffererId, TypeSet> offers_ KELP_GUARDED_BY(mutex_);
    OffererId lastId_ KELP_GUARDED_BY(mutex_) = 0;
};

}  // namespace kelp::notification
