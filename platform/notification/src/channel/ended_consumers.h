#pragma once

#include <kelp/notification/consumer_counts.h>
#include <kelp/util/mutex.h>

#include <cstddef>
#include <deque>
#include <map>
#include <string>

namespace kelp::notification {

/// The sums of the counts of consumers that have ended, by owner. Keeps the owners whose first
/// consumer ended last, kOwnersMax of them. Thread safe.
class EndedConsumers {
  public:
    static constexpr std::size_t kOwnersMax = 10000;

    /// Add the last counts of a consumer. Does nothing for the empty owner, or without memory.
    void add(const std::string& owner, const ConsumerCounts& counts) noexcept KELP_EXCLUDES(mutex_);
    EndedCounts of(const std::string& owner) const KELP_EXCLUDES(mutex_);

  private:
    mutable util::Mutex mutex_{util::LockRank::Leaf, "EndedConsumers::mutex_"};
    std::map<std::string, EndedCounts> byOwner_ KELP_GUARDED_BY(mutex_);
    std::deque<std::string> oldestFirst_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::notification
