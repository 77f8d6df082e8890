#include "event_types/offers.h"

namespace kelp::notification {

Offers::OffererId Offers::enter() {
    const util::MutexLock guard(mutex_);
    offers_[++lastId_];
    return lastId_;
}

void Offers::change(OffererId offerer, const CosNotification::EventTypeSeq& added,
                    const CosNotification::EventTypeSeq& removed) {
    const util::MutexLock guard(mutex_);
    const auto found = offers_.find(offerer);
    if (found == offers_.end())
        throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    found->second = changedTypes(found->second, added, removed);
    publish();
}

void Offers::leave(OffererId offerer) {
    const util::MutexLock guard(mutex_);
    if (offers_.erase(offerer) > 0)
        publish();
}

void Offers::publish() {
    TypeSet together;
    for (const auto& [offerer, types] : offers_)
        unite(together, types);
    if (together.empty())
        together = allTypes();
    followed_->publish(std::move(together));
}

}  // namespace kelp::notification
