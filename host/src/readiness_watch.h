#pragma once

#include <kelp/util/mutex.h>

#include <string>
#include <thread>

namespace kelp::host {

/// Notifies systemd that the process is ready once the session factory's entry is bound, for a
/// start during which it could not be bound. Until then the status text says why not, and systemd
/// is asked to wait. Its thread ends after that, or when the object is destroyed.
class ReadinessWatch {
  public:
    /// `address`: of the naming service.
    explicit ReadinessWatch(std::string address);
    ~ReadinessWatch();
    ReadinessWatch(const ReadinessWatch&) = delete;
    ReadinessWatch& operator=(const ReadinessWatch&) = delete;

  private:
    void run() KELP_EXCLUDES(mutex_);
    /// Wait for the next check. Return false when the object is about to be destroyed.
    bool pause() KELP_EXCLUDES(mutex_);

    const std::string address_;
    util::Mutex mutex_{util::LockRank::Leaf, "ReadinessWatch::mutex_"};
    util::ConditionVariable ending_;
    bool isEnding_ KELP_GUARDED_BY(mutex_) = false;
    std::thread thread_;
};

}  // namespace kelp::host
