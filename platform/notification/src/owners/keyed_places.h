#pragma once

#include <kelp/util/mutex.h>

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace kelp::notification {

/// A limited number of places for each key. An object holds a place of its key until it ends.
/// Thread safe. Places may outlive this object.
class KeyedPlaces {
  public:
    /// Held by one object. The place is free when the last copy is destroyed.
    using Place = std::shared_ptr<const void>;

    /// `max` places for each key.
    explicit KeyedPlaces(std::size_t max) : max_(max), counts_(std::make_shared<Counts>()) {}

    std::size_t max() const { return max_; }
    /// A place of this key; null if none is left. The empty key has no limit.
    Place take(const std::string& key) {
        if (key.empty())
            return std::make_shared<char>();
        // allocated first, so that nothing is counted if there is no memory
        auto held = std::make_shared<Held>(counts_, key);
        const util::MutexLock guard(counts_->mutex);
        std::size_t& count = counts_->byKey[key];
        if (count >= max_)
            return nullptr;
        held->isTaken = true;
        ++count;
        return held;
    }

  private:
    struct Counts {
        util::Mutex mutex{util::LockRank::Leaf, "KeyedPlaces::Counts::mutex"};
        /// No count is 0 unless max is.
        std::map<std::string, std::size_t> byKey KELP_GUARDED_BY(mutex);
    };
    struct Held {
        Held(std::shared_ptr<Counts> shared, std::string itsKey)
            : counts(std::move(shared)), key(std::move(itsKey)) {}
        ~Held() {
            if (!isTaken)
                return;
            const util::MutexLock guard(counts->mutex);
            const auto found = counts->byKey.find(key);
            if (--found->second == 0)
                counts->byKey.erase(found);
        }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

        const std::shared_ptr<Counts> counts;
        const std::string key;
        bool isTaken = false;
    };

    const std::size_t max_;
    const std::shared_ptr<Counts> counts_;
};

}  // namespace kelp::notification
