#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace NS_CORBA {

/// A value that every request reads and that is rarely replaced. Readers take no lock. A reader may
/// still use a value that was replaced, so every value is kept until the end. Therefore use it for
/// values that change with the configuration, not with the traffic. Any thread may call it.
template <class Value>
class Published {
  public:
    /// Return the current value; null before the first publish(). Valid as long as this object.
    const Value* get() const { return current_.load(std::memory_order_acquire); }

    /// Replace the value unless the new one is equal.
    void publish(Value value) KELP_EXCLUDES(mutex_) {
        const kelp::util::MutexLock guard(mutex_);
        if (!kept_.empty() && *kept_.back() == value)
            return;
        kept_.push_back(std::make_unique<const Value>(std::move(value)));
        current_.store(kept_.back().get(), std::memory_order_release);
    }

  private:
    std::atomic<const Value*> current_{nullptr};
    kelp::util::Mutex mutex_{kelp::util::LockRank::Service, "Published::mutex_"};
    std::vector<std::unique_ptr<const Value>> kept_ KELP_GUARDED_BY(mutex_);
};

}  // namespace NS_CORBA
