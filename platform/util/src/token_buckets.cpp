#include <kelp/util/token_buckets.h>

#include <algorithm>

namespace kelp::util {

bool TokenBuckets::take(const std::string& source, Time now, const Limits& limits) {
    const MutexLock lock(mutex_);
    Bucket& bucket = bucketOf(source, now, limits);
    // threads may get here in another order than they read the clock
    if (now > bucket.filled) {
        bucket.tokens +=
            std::chrono::duration<double>(now - bucket.filled).count() * limits.perSecond;
        bucket.filled = now;
    }
    bucket.tokens = std::min(bucket.tokens, limits.burst);
    if (bucket.tokens < 1)
        return false;
    bucket.tokens -= 1;
    return true;
}

void TokenBuckets::giveBack(const std::string& source) {
    const MutexLock lock(mutex_);
    if (const auto found = places_.find(source); found != places_.end())
        found->second->tokens += 1;
}

void TokenBuckets::clear() {
    const MutexLock lock(mutex_);
    places_.clear();
    buckets_.clear();
}

std::size_t TokenBuckets::sources() const {
    const MutexLock lock(mutex_);
    return buckets_.size();
}

TokenBuckets::Bucket& TokenBuckets::bucketOf(const std::string& source, Time now,
                                             const Limits& limits) {
    if (const auto found = places_.find(source); found != places_.end()) {
        buckets_.splice(buckets_.begin(), buckets_, found->second);
        return buckets_.front();
    }
    if (buckets_.size() >= sourcesMax_ && !buckets_.empty()) {
        places_.erase(buckets_.back().source);
        buckets_.pop_back();
    }
    buckets_.push_front({source, limits.burst, now});
    places_[source] = buckets_.begin();
    return buckets_.front();
}

}  // namespace kelp::util
