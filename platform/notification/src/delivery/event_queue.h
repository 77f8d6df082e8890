#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "delivery/event.h"

namespace kelp::notification {

/// The order in which waiting events are delivered. Events that are alike in it keep that of their
/// arrival.
enum class Order { Arrival, Priority, Deadline };
/// Which event goes when one more does not fit. By priority the lowest goes, by deadline the one
/// that expires soonest; the oldest of several.
enum class Discard { Oldest, Newest, LowestPriority, SoonestDeadline };

/// How one consumer's events wait. Priority and time-out are for events that bring none.
struct QueueRules {
    Order order = Order::Arrival;
    Discard discard = Discard::Oldest;
    std::int16_t priority = 0;
    std::chrono::milliseconds timeout{0};  ///< 0: events do not expire
    bool heedsStop = true;                 ///< an event that says when it expires does
};

/// The events that wait for one consumer, in order, and how many there were. Not thread safe.
///
/// At any time sent = delivered + lost + size. A function that throws has changed nothing.
class EventQueue {
  public:
    using Time = std::chrono::steady_clock::time_point;

    explicit EventQueue(std::size_t limit) : limit_(limit) {}

    /// `isOwn`: the consumer itself has chosen the limit, so what does not fit is lost by its own
    /// choice.
    void setLimit(std::size_t limit, bool isOwn = false);
    std::size_t limit() const { return limit_; }
    bool hasOwnLimit() const { return hasOwnLimit_; }
    /// The events that wait are put into their new order.
    void setRules(const QueueRules& rules);

    /// Takes an event in and returns what was discarded for it: null, another one, or the event
    /// itself. Events being delivered are never discarded.
    EventPtr add(const EventPtr& event);
    /// Counts an event that was lost before it could be added; with `isOwn` by the consumer's own
    /// doing.
    void countLost(bool isOwn = false);
    /// The first events, at most `most`; they stay in the queue and count as being delivered until
    /// settle() or putBack().
    std::vector<EventPtr> beginDelivery(std::size_t most);
    /// Those being delivered have been (or are lost).
    void settle(bool delivered);
    /// Those being delivered wait again, in their place.
    void putBack() { inDelivery_ = 0; }
    /// Drops those whose time is over, the ones being delivered excepted: lost by the choice of
    /// whoever set the time-out.
    void expire(Time now);
    /// Drops those that wait, the ones being delivered excepted. The first one dropped.
    EventPtr clear();

    bool empty() const { return events_.empty(); }
    std::size_t size() const { return events_.size(); }
    /// Those not being delivered.
    std::size_t waiting() const { return events_.size() - inDelivery_; }
    const EventPtr& front() const { return events_.front().event; }
    /// When the oldest of them was taken in. Not to be called when it is empty.
    Time oldestTaken() const;

    std::uint64_t sent() const { return sent_; }
    std::uint64_t delivered() const { return delivered_; }
    std::uint64_t lost() const { return lost_; }
    /// Of the lost ones, those that expired or did not fit into a limit of the consumer's own.
    std::uint64_t lostByChoice() const { return lostByChoice_; }

  private:
    struct Entry {
        EventPtr event;
        std::uint64_t number;  ///< rising in the order of arrival
    };
    using Entries = std::deque<Entry>;

    Entries::iterator firstWaiting();
    Entries::iterator toDiscard();
    std::int16_t priorityOf(const Entry& entry) const;
    Time deadlineOf(const Entry& entry) const;
    bool isBefore(const Entry& left, const Entry& right) const;

    Entries events_;
    std::size_t inDelivery_ = 0;  // of the first events
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
