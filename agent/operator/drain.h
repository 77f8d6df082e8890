#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>

namespace NS_KELPCORBA {

/// Drains the host: refuses log-ins and ends the sessions, the oldest first, several at a time. A
/// separate thread does this until end(), so a log-in that was in progress is ended too. Any thread
/// may call it; the destructor ends the drain.
class Drain {
  public:
    Drain() = default;
    ~Drain();
    Drain(const Drain&) = delete;
    Drain& operator=(const Drain&) = delete;

    /// Begin to drain. Return false when that has begun before. Throws std::system_error when no
    /// thread can be created; log-ins are then accepted as before.
    bool begin(const std::string& reason, const std::string& by) KELP_EXCLUDES(control_);
    /// Accept log-ins again. Return false when nothing was being drained. Waits for the ends in
    /// progress.
    bool end() KELP_EXCLUDES(control_);
    /// Sessions that the current drain, or the last one, has ended.
    std::size_t ended() const { return ended_; }

  private:
    void run(const std::string& by) KELP_EXCLUDES(mutex_);
    void endAll(const std::string& by);

    /// Serialises begin() and end(), which wait for the thread.
    kelp::util::Mutex control_{kelp::util::LockRank::BaseControl, "Drain::control_"};
    std::thread worker_ KELP_GUARDED_BY(control_);
    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "Drain::mutex_"};
    kelp::util::ConditionVariable changed_;
    bool isOver_ KELP_GUARDED_BY(mutex_) = false;
    std::atomic<std::size_t> ended_{0};
};

}  // namespace NS_KELPCORBA
