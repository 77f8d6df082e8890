#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "delivery/event.h"

namespace kelp::notification {

/// The order in which waiting events are delivered. Events of equal rank keep the order of arrival.
enum class Order { Arrival, Priority, Deadline };
/// Which event is discarded when one more does not fit: by priority the lowest, by deadline the one
/// that expires soonest. Of several equal ones, the oldest.
enum class Discard { Oldest, Newest, LowestPriority, SoonestDeadline };

/// How the events of one consumer wait. Priority and time-out apply to events that bring none.
struct QueueRules {
    Order order = Order::Arrival;
    Discard discard = Discard::Oldest;
    std::int16_t priority = 0;
    std::chrono::milliseconds timeout{0};  ///< 0: events do not expire
    bool heedsStop = true;                 ///< whether events expire at their own stop time
};

/// The events that wait for one consumer, in order, with counters. Not thread safe.
///
/// At any time sent = delivered + lost + size. An operation that throws has changed nothing.
class EventQueue {
  public:
    using Time = std::chrono::steady_clock::time_point;

    explicit EventQueue(std::size_t limit) : limit_(limit) {}

    /// `isOwn`: the consumer has set the limit itself, so events that do not fit count as lost by
    /// its own choice.
    void setLimit(std::size_t limit, bool isOwn = false);
    std::size_t limit() const { return limit_; }
    bool hasOwnLimit() const { return hasOwnLimit_; }
    /// Set the rules and sort the waiting events by them.
    void setRules(const QueueRules& rules);

    /// Add an event. Returns the first event discarded to make room: another one, or `event`
    /// itself. Null if nothing was discarded. Events being delivered are never discarded.
    EventPtr add(const EventPtr& event);
    /// Count an event that was lost before it could be added. `isOwn`: by the consumer's own doing.
    void countLost(bool isOwn = false);
    /// The first events, at most `most`. They stay in the queue and count as being delivered until
    /// settle() or putBack().
    std::vector<EventPtr> beginDelivery(std::size_t most);
    /// Remove the events being delivered and count them as delivered or lost.
    void settle(bool delivered);
    /// Let the events being delivered wait again, in their place.
    void putBack() { inDelivery_ = 0; }
    /// Drop the events that have expired, except those being delivered. They count as lost by
    /// choice: whoever set the time-out wanted it.
    void expire(Time now);
    /// Drop all events except those being delivered. Returns the first one dropped.
    EventPtr clear();

    bool empty() const { return events_.empty(); }
    std::size_t size() const { return events_.size(); }
    /// Number of events that are not being delivered.
    std::size_t waiting() const { return events_.size() - inDelivery_; }
    const EventPtr& front() const { return events_.front().event; }
    /// Time at which the oldest event was accepted. The queue must not be empty.
    Time oldestAccepted() const;

    std::uint64_t sent() const { return sent_; }
    std::uint64_t delivered() const { return delivered_; }
    std::uint64_t lost() const { return lost_; }
    /// Lost events that expired, or did not fit a limit set by the consumer.
    std::uint64_t lostByChoice() const { return lostByChoice_; }

  private:
    struct Entry {
        EventPtr event;
        std::uint64_t number;  ///< increases in the order of arrival
    };
    using Entries = std::deque<Entry>;

    Entries::iterator firstWaiting();
    Entries::iterator toDiscard();
    std::int16_t priorityOf(const Entry& entry) const;
    Time deadlineOf(const Entry& entry) const;
    bool isBefore(const Entry& left, const Entry& right) const;

    Entries events_;
    std::size_t inDelivery_ = 0;  // number of events being delivered: the first ones
    std::size_t limit_;
    bool hasOwnLimit_ = false;
    QueueRules rules_;
    Time noExpiryBefore_ = Time::max();
    std::uint64_t sent_ = 0;
    std::uint64_t delivered_ = 0;
    std::uint64_t lost_ = 0;
    std::uint64_t lostByChoice_ = 0;
};

}  // namespace kelp::notification
