#pragma once

#include <mutex>

#include "types/type_set.h"

namespace kelp::notification {

/// Event types that somebody subscribes to. All types at first, and again after the last one was
/// removed. Thread safe.
class TypeList {
  public:
    /// Change the types completely or not at all. Throws what changedTypes throws.
    void change(const CosNotification::EventTypeSeq& added,
                const CosNotification::EventTypeSeq& removed);
    bool matches(const CosNotification::EventType& type) const;
    TypeSet types() const;

  private:
    mutable std::mutex mutex_;
    TypeSet types_;  // guarded by mutex_; empty: all
};

}  // namespace kelp::notification
