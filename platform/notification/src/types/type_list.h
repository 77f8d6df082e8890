#pragma once

#include <mutex>

#include "types/type_set.h"

namespace kelp::notification {

/// Event types that somebody subscribes to: all of them until told otherwise, and again when the
/// last one was taken back. Thread safe.
class TypeList {
  public:
    /// Throws what changedTypes throws. All or nothing.
    void change(const CosNotification::EventTypeSeq& added,
                const CosNotification::EventTypeSeq& removed);
    bool matches(const CosNotification::EventType& type) const;
    TypeSet types() const;

  private:
    mutable std::mutex mutex_;
    TypeSet types_;  // guarded by mutex_; empty: all
};

}  // namespace kelp::notification
