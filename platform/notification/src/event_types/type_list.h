#pragma once

#include <kelp/util/mutex.h>

#include "event_types/type_set.h"

namespace kelp::notification {

/// Event types that somebody subscribes to. All types at first, and again after the last one was
/// removed. Thread safe.
class TypeList {
  public:
    /// Change the types completely or not at all. Throws what changedTypes throws.
    void change(const CosNotification::EventTypeSeq& added,
                const CosNotification::EventTypeSeq& removed) KELP_EXCLUDES(mutex_);
    bool matches(const char* eventDomain, const char* eventType) const KELP_EXCLUDES(mutex_);
    TypeSet types() const KELP_EXCLUDES(mutex_);

  private:
    mutable util::Mutex mutex_{util::LockRank::Leaf, "TypeList::mutex_"};
    TypeSet types_ KELP_GUARDED_BY(mutex_);  ///< empty: all
};

}  // namespace kelp::notification
