#include "event_types/type_list.h"

namespace kelp::notification {

void TypeList::change(const CosNotification::EventTypeSeq& added,
                      const CosNotification::EventTypeSeq& removed) {
    const util::MutexLock guard(mutex_);
    TypeSet changed = changedTypes(types_, added, removed);
    types_ = isAll(changed) ? TypeSet() : std::move(changed);
}

bool TypeList::matches(const char* eventDomain, const char* eventType) const {
    const util::MutexLock guard(mutex_);
    if (types_.empty())
        return true;
    for (const auto& [domain, name] : types_) {
        if (matchesPattern(domain.c_str(), eventDomain) && matchesPattern(name.c_str(), eventType))
            return true;
    }
    return false;
}

TypeSet TypeList::types() const {
    const util::MutexLock guard(mutex_);
    return types_.empty() ? allTypes() : types_;
}

}  // namespace kelp::notification
