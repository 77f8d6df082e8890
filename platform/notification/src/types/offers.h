#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "types/type_feed.h"

namespace kelp::notification {

/// What suppliers say that they offer, each proxy consumer and each supplier admin for itself;
/// together every type while none of them offers anything. Thread safe; its lock is taken outside
/// the feed's.
class Offers {
  public:
    using OffererId = int;

    /// `feed` is kept at what all offer together.
    explicit Offers(std::shared_ptr<TypeFeed> feed) : feed_(std::move(feed)) {}

    OffererId enter();
    /// Throws what changedTypes throws, and OBJECT_NOT_EXIST for one who has left. All or nothing.
    void change(OffererId offerer, const CosNotification::EventTypeSeq& added,
                const CosNotification::EventTypeSeq& removed);
    /// Takes its offers along; harmless the second time.
    void leave(OffererId offerer);

  private:
    void publish();

    const std::shared_ptr<TypeFeed> feed_;
    std::mutex mutex_;  // guards what follows
    std::map<OffererId, TypeSet> offers_;
    OffererId lastId_ = 0;
};

}  // namespace kelp::notification
