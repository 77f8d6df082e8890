#pragma once

#include "event.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace kelp::notification {

/// Which event goes when one more does not fit.
enum class Discard { Oldest, Newest };

/// The events that wait for one consumer, in order, and how many there were. Not thread safe.
class EventQueue {
  public:
    explicit EventQueue(std::size_t limit) : limit_(limit) {}

    void setLimit(std::size_t limit) { limit_ = limit; }
    std::size_t limit() const { return limit_; }
    void setDiscard(Discard discard) { discard_ = discard; }

    /// Takes an event in and returns what was discarded for it: null, an older one, or the event itself.
    /// Events being delivered are never discarded.
    EventPtr add(const EventPtr& event);
    /// The first events, at most `most`; they stay in the queue and count as being delivered until settle()
    /// or putBack().
    std::vector<EventPtr> beginDelivery(std::size_t most);
    /// Those being delivered have been (or are lost).
    void settle(bool delivered);
    /// Those being delivered wait again, in their place.
    void putBack() { inDelivery_ = 0; }
    /// Drops those that wait since before `limit`, the ones being delivered excepted. The first one dropped.
    EventPtr expire(std::chrono::steady_clock::time_point limit);
    /// Drops those that wait, the ones being delivered excepted. The first one dropped.
    EventPtr clear();

    bool empty() const { return events_.empty(); }
    std::size_t size() const { return events_.size(); }
    /// Those not being delivered.
    std::size_t waiting() const { return events_.size() - inDelivery_; }
    const EventPtr& front() const { return events_.front(); }

    std::uint64_t sent() const { return sent_; }
    std::uint64_t delivered() const { return delivered_; }
    std::uint64_t lost() const { return lost_; }

  private:
    std::deque<EventPtr> events_;
    std::size_t inDelivery_ = 0;  // of the first events
    std::size_t limit_;
    Discard discard_ = Discard::Oldest;
    std::uint64_t sent_ = 0;
    std::uint64_t delivered_ = 0;
    std::uint64_t lost_ = 0;
};

}  // namespace kelp::notification
