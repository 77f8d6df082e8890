#pragma once

#include <cos/CosNotification.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace kelp::bench {

/// Counts the events of the alarms that AlarmPoster has posted, with the time since the start of
/// the intake call. Any thread may call it.
class EventTally {
  public:
    void count(const CosNotification::StructuredEvent& event);
    /// Count an event with this notification id whose intake began at `sent` (stampNow()).
    void count(std::uint64_t notificationId, std::int64_t sent);
    void reset();
    /// "<events> <repeated or out of order> <p50 ns> <p99 ns>"
    std::string report() const;

  private:
    mutable std::mutex mutex_;
    std::vector<std::int64_t> delays_;  // guarded by mutex_, as are the following
    std::uint64_t lastId_ = 0;
    std::size_t outOfOrder_ = 0;
};

}  // namespace kelp::bench
