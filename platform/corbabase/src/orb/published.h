#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace NS_CORBA {

/// A value that every request reads and that is hardly ever replaced. Readers take no lock. They
/// may be at a value that was replaced meanwhile, so each is kept until the end: for what changes
/// with the configuration, not for what changes with the traffic. Callable from any thread.
template <class Value>
class Published {
  public:
    /// Null before the first publish(); valid as long as this object.
    const Value* get() const { return current_.load(std::memory_order_acquire); }

    /// Keeps the present value when the new one equals it.
    void publish(Value value) {
        const std::lock_guard guard(mutex_);
        if (!kept_.empty() && *kept_.back() == value)
            return;
        kept_.push_back(std::make_unique<const Value>(std::move(value)));
        current_.store(kept_.back().get(), std::memory_order_release);
    }

  private:
    std::atomic<const Value*> current_{nullptr};
    std::mutex mutex_;
    std::vector<std::unique_ptr<const Value>> kept_;  // guarded by mutex_
};

}  // namespace NS_CORBA
