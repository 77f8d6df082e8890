#include "delivery/event_queue.h"

#include <algorithm>
#include <iterator>

namespace kelp::notification {

void EventQueue::setLimit(std::size_t limit, bool isOwn) {
    limit_ = limit;
    hasOwnLimit_ = isOwn;
}

void EventQueue::setRules(const QueueRules& rules) {
    const bool isReordered = rules.order != rules_.order || rules.priority != rules_.priority ||
                             rules.heedsStop != rules_.heedsStop || rules.timeout != rules_.timeout;
    rules_ = rules;
    if (isReordered)
        std::sort(firstWaiting(), events_.end(), [this](const Entry& left, const Entry& right) {
            return isBefore(left, right) || (!isBefore(right, left) && left.number < right.number);
        });
    noExpiryBefore_ = Time::max();
    for (const Entry& each : events_)
        noExpiryBefore_ = std::min(noExpiryBefore_, deadlineOf(each));
}

EventPtr EventQueue::add(const EventPtr& event) {
    const Entry entry{event, sent_};
    const auto place = rules_.order == Order::Arrival
                           ? events_.end()
                           : std::upper_bound(firstWaiting(), events_.end(), entry,
                                              [this](const Entry& left, const Entry& right) {
                                                  return isBefore(left, right);
                                              });
    events_.insert(place, entry);
    ++sent_;
    noExpiryBefore_ = std::min(noExpiryBefore_, deadlineOf(entry));
    EventPtr first;
    while (events_.size() > limit_ && waiting() > 0) {
        const auto dropped = toDiscard();
        if (!first)
            first = dropped->event;
        events_.erase(dropped);
        ++lost_;
        if (hasOwnLimit_)
            ++lostByChoice_;
    }
    return first;
}

void EventQueue::countLost(bool isOwn) {
    ++sent_;
    ++lost_;
    if (isOwn)
        ++lostByChoice_;
}

std::vector<EventPtr> EventQueue::beginDelivery(std::size_t most) {
    const std::size_t count = std::min(most, events_.size());
    std::vector<EventPtr> first;
    first.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        first.push_back(events_[i].event);
    inDelivery_ = count;
    return first;
}

void EventQueue::settle(bool delivered) {
    (delivered ? delivered_ : lost_) += inDelivery_;
    events_.erase(events_.begin(), firstWaiting());
    inDelivery_ = 0;
}

void EventQueue::expire(Time now) {
    if (now < noExpiryBefore_)
        return;
    const auto end = std::remove_if(firstWaiting(), events_.end(),
                                    [&](const Entry& each) { return deadlineOf(each) <= now; });
    const auto count = static_cast<std::uint64_t>(std::distance(end, events_.end()));
    events_.erase(end, events_.end());
    lost_ += count;
    lostByChoice_ += count;
    noExpiryBefore_ = Time::max();
    for (const Entry& each : events_)
        noExpiryBefore_ = std::min(noExpiryBefore_, deadlineOf(each));
}

EventPtr EventQueue::clear() {
    if (waiting() == 0)
        return nullptr;
    EventPtr first = firstWaiting()->event;
    lost_ += waiting();
    events_.erase(firstWaiting(), events_.end());
    return first;
}

EventQueue::Time EventQueue::oldestAccepted() const {
    if (rules_.order == Order::Arrival)
        return events_.front().event->accepted;
    const auto oldest = std::min_element(
        events_.begin(), events_.end(),
        [](const Entry& left, const Entry& right) { return left.number < right.number; });
    return oldest->event->accepted;
}

EventQueue::Entries::iterator EventQueue::firstWaiting() {
    return events_.begin() + static_cast<std::ptrdiff_t>(inDelivery_);
}

EventQueue::Entries::iterator EventQueue::toDiscard() {
    const auto first = firstWaiting();
    const auto least = [&](auto isLess) { return std::min_element(first, events_.end(), isLess); };
    switch (rules_.discard) {
        case Discard::LowestPriority:
            return least([this](const Entry& left, const Entry& right) {
                return priorityOf(left) < priorityOf(right);
            });
        case Discard::SoonestDeadline:
            return least([this](const Entry& left, const Entry& right) {
                return deadlineOf(left) < deadlineOf(right);
            });
        case Discard::Newest:
            if (rules_.order == Order::Arrival)
                return std::prev(events_.end());
            return least(
                [](const Entry& left, const Entry& right) { return left.number > right.number; });
        case Discard::Oldest:
            break;
    }
    if (rules_.order == Order::Arrival)
        return first;
    return least([](const Entry& left, const Entry& right) { return left.number < right.number; });
}

std::int16_t EventQueue::priorityOf(const Entry& entry) const {
    return entry.event->qos.priority.value_or(rules_.priority);
}

EventQueue::Time EventQueue::deadlineOf(const Entry& entry) const {
    const std::chrono::milliseconds timeout = entry.event->qos.timeout.value_or(rules_.timeout);
    const Time byTimeout = timeout.count() > 0 ? entry.event->accepted + timeout : Time::max();
    return rules_.heedsStop ? std::min(byTimeout, entry.event->qos.stop.value_or(Time::max()))
                            : byTimeout;
}

bool EventQueue::isBefore(const Entry& left, const Entry& right) const {
    switch (rules_.order) {
        case Order::Priority:
            return priorityOf(left) > priorityOf(right);
        case Order::Deadline:
            return deadlineOf(left) < deadlineOf(right);
        case Order::Arrival:
            break;
    }
    return left.number < right.number;
}

}  // namespace kelp::notification
