#pragma once

#include <kelp/util/mutex.h>

#include <cstddef>
#include <deque>
#include <utility>

#include "delivery/event.h"
#include "filter/filter_list.h"

namespace kelp::notification {

/// The events that wait to be filtered for one consumer, in order. One thread at a time puts events
/// in, and one thread at a time takes them out. Thread safe.
class Sieve {
  public:
    /// An event with the filters that applied when it was accepted.
    struct Item {
        EventPtr event{};
        FilterList::Snapshot ofAdmin{};
        FilterList::Snapshot ofProxy{};
    };
    enum class Way {
        Straight,  ///< the event need not be filtered and no event waits before it
        Begins,    ///< the event waits, and the caller must schedule the work
        Waits      ///< the event waits, and the work is scheduled already
    };
    /// Put in an event and return which way it goes. If more than `max` events wait, the one that
    /// has waited longest is removed and stored in `lost`.
    Way put(Item item, std::size_t max, EventPtr& lost) KELP_EXCLUDES(mutex_) {
        const bool isFiltered = !item.ofAdmin->empty() || !item.ofProxy->empty();
        const util::MutexLock guard(mutex_);
        if (!isFiltered && !isAtWork_ && waiting_.empty())
            return Way::Straight;
        waiting_.push_back(std::move(item));
        if (waiting_.size() > max) {
            lost = std::move(waiting_.front().event);
            waiting_.pop_front();
        }
        return std::exchange(isAtWork_, true) ? Way::Waits : Way::Begins;
    }
    /// The next event. If there is none, the result's event is null and the work ends.
    Item next() KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        if (waiting_.empty()) {
            isAtWork_ = false;
            return {};
        }
        Item first = std::move(waiting_.front());
        waiting_.pop_front();
        return first;
    }
    /// The work could not be scheduled. The next event begins it again.
    void stopWork() KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        isAtWork_ = false;
    }
    std::size_t size() const KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        return waiting_.size();
    }
    void clear() KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        waiting_.clear();
    }

  private:
    mutable util::Mutex mutex_{util::LockRank::ChannelPart, "Sieve::mutex_"};
    std::deque<Item> waiting_ KELP_GUARDED_BY(mutex_);
    bool isAtWork_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::notification
