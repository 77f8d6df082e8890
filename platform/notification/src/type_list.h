#pragma once

#include <cos/CosNotifyComm.h>

#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace kelp::notification {

/// Event types that somebody subscribes to or offers: all of them until told otherwise. A name may hold "*"
/// for any text; "%ALL" means every type. Thread safe.
class TypeList {
  public:
    /// Throws InvalidEventType for a type without a name. All or nothing.
    void change(const CosNotification::EventTypeSeq& added, const CosNotification::EventTypeSeq& removed);
    bool matches(const CosNotification::EventType& type) const;
    CosNotification::EventTypeSeq* list() const;

  private:
    using Type = std::pair<std::string, std::string>;
    mutable std::mutex mutex_;
    std::set<Type> types_;  // guarded by mutex_; empty: all
};

/// True when `text` has the form of `pattern`, whose "*" stand for any text.
bool matchesPattern(const char* pattern, const char* text);

}  // namespace kelp::notification
