#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "types/type_feed.h"

namespace kelp::notification {

/// The event types that suppliers offer: one set for each proxy consumer and each supplier admin,
/// and their union, which is every type while nobody offers anything. Thread safe. Its lock is
/// taken before the feed's.
class Offers {
  public:
    using OffererId = int;

    /// Publishes the union of all offers in `feed`.
    explicit Offers(std::shared_ptr<TypeFeed> feed) : feed_(std::move(feed)) {}

    OffererId enter();
    /// Change the offers of one offerer, completely or not at all. Throws what changedTypes throws,
    /// and OBJECT_NOT_EXIST if the offerer has left.
    void change(OffererId offerer, const CosNotification::EventTypeSeq& added,
                const CosNotification::EventTypeSeq& removed);
    /// Remove the offerer and its offers. Does nothing the second time.
    void leave(OffererId offerer);

  private:
    void publish();

    const std::shared_ptr<TypeFeed> feed_;
    std::mutex mutex_;  // guards what follows
    std::map<OffererId, TypeSet> offers_;
    OffererId lastId_ = 0;
};

}  // namespace kelp::notification
