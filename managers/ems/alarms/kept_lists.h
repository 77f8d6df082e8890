#pragma once

#include <kelp/alarms/list_state.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>

namespace kelp::ems {

using ListStatePtr = std::shared_ptr<const alarms::ListState>;

/// Lists of alarms that somebody reads page by page, so that all pages show the list at one
/// position. At most four are kept, each for a minute after the last page that was read. Any thread
/// may call it.
class KeptLists {
  public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t kListsMax = 4;
    /// The time that a reader may take between two pages.
    static constexpr std::chrono::seconds kAge{60};

    /// The list at this position; null if it is not kept, or not any more.
    ListStatePtr find(alarms::Position position, Clock::time_point now = Clock::now())
        KELP_EXCLUDES(mutex_);
    /// Keep a list from now on.
    void keep(const ListStatePtr& list, Clock::time_point now = Clock::now()) KELP_EXCLUDES(mutex_);

  private:
    struct Kept {
        ListStatePtr list;
        Clock::time_point readAt;
    };
    void forgetOldOnes(Clock::time_point now) KELP_REQUIRES(mutex_);

    util::Mutex mutex_{util::LockRank::Leaf, "KeptLists::mutex_"};
    std::deque<Kept> lists_ KELP_GUARDED_BY(mutex_);  ///< the one that was read last is at the end
};

}  // namespace kelp::ems
