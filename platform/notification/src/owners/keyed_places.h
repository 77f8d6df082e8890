#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace kelp::notification {

/// Places that are counted for each key by itself: an object holds one of its key until it ends.
/// Thread safe; places may outlive this.
class KeyedPlaces {
  public:
    /// Held by one object; the place is free when the last copy is gone.
    using Place = std::shared_ptr<const void>;

    /// Places of one key.
    explicit KeyedPlaces(std::size_t max) : max_(max), counts_(std::make_shared<Counts>()) {}

    std::size_t max() const { return max_; }
    /// A place of this key; null when it has all of them. The empty key has no limit.
    Place take(const std::string& key) {
        if (key.empty())
            return std::make_shared<char>();
        // first: the place must be given back also when there is no memory for the one that holds
        // it
        auto held = std::make_shared<Held>(counts_, key);
        const std::lock_guard guard(counts_->mutex);
        std::size_t& count = counts_->byKey[key];
        if (count >= max_)
            return nullptr;
        held->isTaken = true;
        ++count;
        return held;
    }

  private:
    struct Counts {
        std::mutex mutex;
        std::map<std::string, std::size_t> byKey;  ///< guarded by mutex; none is 0 unless max is
    };
    struct Held {
        Held(std::shared_ptr<Counts> shared, std::string itsKey)
            : counts(std::move(shared)), key(std::move(itsKey)) {}
        ~Held() {
            if (!isTaken)
                return;
            const std::lock_guard guard(counts->mutex);
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
