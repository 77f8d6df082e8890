#include "channel/ended_consumers.h"

#include <new>

namespace kelp::notification {

void EndedConsumers::add(const std::string& owner, const ConsumerCounts& counts) noexcept {
    if (owner.empty())
        return;
    try {
        const util::MutexLock lock(mutex_);
        auto found = byOwner_.find(owner);
        if (found == byOwner_.end()) {
            oldestFirst_.push_back(owner);
            try {
                found = byOwner_.emplace(owner, EndedCounts()).first;
            } catch (const std::bad_alloc&) {
                oldestFirst_.pop_back();
                return;
            }
            if (oldestFirst_.size() > kOwnersMax) {
                byOwner_.erase(oldestFirst_.front());
                oldestFirst_.pop_front();
            }
        }
        found->second.sent += counts.sent;
        found->second.delivered += counts.delivered;
        found->second.lost += counts.lost + counts.queued;
    } catch (const std::bad_alloc&) {
        // the sums of this owner are too small by this consumer
    }
}

EndedCounts EndedConsumers::of(const std::string& owner) const {
    const util::MutexLock lock(mutex_);
    const auto found = byOwner_.find(owner);
    return found == byOwner_.end() ? EndedCounts() : found->second;
}

}  // namespace kelp::notification
