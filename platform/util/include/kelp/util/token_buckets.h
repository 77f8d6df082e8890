#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <list>
#include <mutex>
#include <string>
#include <unordered_map>

namespace kelp::util {

/// Limits how often each of many sources may do something: a token bucket a source. Memory is
/// bounded: beyond `sourcesMax` the source that was seen longest ago is forgotten and would begin
/// with a full bucket. Callable from any thread.
class KELP_EXPORT TokenBuckets {
  public:
    using Time = std::chrono::steady_clock::time_point;
    struct Limits {
        double perSecond = 0;  ///< tokens that come back each second
        double burst = 0;      ///< tokens of a full bucket
    };

    explicit TokenBuckets(std::size_t sourcesMax = 10000) : sourcesMax_(sourcesMax) {}
    TokenBuckets(const TokenBuckets&) = delete;
    TokenBuckets& operator=(const TokenBuckets&) = delete;

    /// Takes a token of this source; false when it has none.
    bool take(const std::string& source, Time now, const Limits& limits);
    /// Gives a token back that was taken; a source that was forgotten meanwhile: nothing.
    void giveBack(const std::string& source);
    /// Forgets all sources.
    void clear();
    std::size_t sources() const;

  private:
    struct Bucket {
        std::string source;
        double tokens = 0;
        Time filled{};  ///< when `tokens` was right
    };
    using Buckets = std::list<Bucket>;

    Bucket& bucketOf(const std::string& source, Time now, const Limits& limits);

    const std::size_t sourcesMax_;
    mutable std::mutex mutex_;  // guards what follows
    Buckets buckets_;           ///< the source seen last first
    std::unordered_map<std::string, Buckets::iterator> places_;
};

}  // namespace kelp::util
