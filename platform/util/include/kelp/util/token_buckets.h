#pragma once

#include <kelp/util/export.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>

namespace kelp::util {

/// Limits how often each of many sources may do something. Each source has a token bucket. Memory
/// is bounded: with more than `sourcesMax` sources, the least recently seen one is forgotten, and
/// would begin again with a full bucket. Any thread may call it.
class KELP_EXPORT TokenBuckets {
  public:
    using Time = std::chrono::steady_clock::time_point;
    /// The size of a bucket and the rate at which it fills.
    struct Limits {
        double perSecond = 0;  ///< tokens added each second
        double burst = 0;      ///< tokens in a full bucket
    };

    explicit TokenBuckets(std::size_t sourcesMax = 10000) : sourcesMax_(sourcesMax) {}
    TokenBuckets(const TokenBuckets&) = delete;
    TokenBuckets& operator=(const TokenBuckets&) = delete;

    /// Take one token of this source. Returns false if it has none.
    bool take(const std::string& source, Time now, const Limits& limits) KELP_EXCLUDES(mutex_);
    /// Give a token back. Does nothing if the source was forgotten in the meantime.
    void giveBack(const std::string& source) KELP_EXCLUDES(mutex_);
    /// Forget all sources.
    void clear() KELP_EXCLUDES(mutex_);
    std::size_t sources() const KELP_EXCLUDES(mutex_);

  private:
    struct Bucket {
        std::string source;
        double tokens = 0;
        Time filled{};  ///< the time for which `tokens` is valid
    };
    using Buckets = std::list<Bucket>;

    Bucket& bucketOf(const std::string& source, Time now, const Limits& limits)
        KELP_REQUIRES(mutex_);

    const std::size_t sourcesMax_;
    mutable Mutex mutex_{LockRank::Service, "TokenBuckets::mutex_"};
    Buckets buckets_ KELP_GUARDED_BY(mutex_);  ///< the most recently seen source first
    std::unordered_map<std::string, Buckets::iterator> places_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::util
