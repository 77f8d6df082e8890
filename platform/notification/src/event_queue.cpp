#include "event_queue.h"

#include <algorithm>
#include <iterator>

namespace kelp::notification {

EventPtr EventQueue::add(const EventPtr& event) {
    ++sent_;
    events_.push_back(event);
    EventPtr first;
    while (events_.size() > limit_ && waiting() > 0) {
        const auto dropped = discard_ == Discard::Oldest
                                 ? events_.begin() + static_cast<std::ptrdiff_t>(inDelivery_)
                                 : std::prev(events_.end());
        if (!first)
            first = *dropped;
        events_.erase(dropped);
        ++lost_;
    }
    return first;
}

std::vector<EventPtr> EventQueue::beginDelivery(std::size_t most) {
    inDelivery_ = std::min(most, events_.size());
    return {events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(inDelivery_)};
}

void EventQueue::settle(bool delivered) {
    (delivered ? delivered_ : lost_) += inDelivery_;
    events_.erase(events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(inDelivery_));
    inDelivery_ = 0;
}

EventPtr EventQueue::expire(std::chrono::steady_clock::time_point limit) {
    const auto first = events_.begin() + static_cast<std::ptrdiff_t>(inDelivery_);
    const auto end =
        std::find_if(first, events_.end(), [limit](const EventPtr& each) { return each->taken >= limit; });
    if (first == end)
        return nullptr;
    EventPtr gone = *first;
    lost_ += static_cast<std::uint64_t>(std::distance(first, end));
    events_.erase(first, end);
    return gone;
}

EventPtr EventQueue::clear() {
    return expire(std::chrono::steady_clock::time_point::max());
}

}  // namespace kelp::notification
