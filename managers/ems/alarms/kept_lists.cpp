#include "alarms/kept_lists.h"

#include <algorithm>

namespace kelp::ems {

ListStatePtr KeptLists::find(alarms::Position position, Clock::time_point now) {
    const util::MutexLock lock(mutex_);
    forgetOldOnes(now);
    for (const Kept& each : lists_) {
        if (each.list->position() == position)
            return each.list;
    }
    return nullptr;
}

void KeptLists::keep(const ListStatePtr& list, Clock::time_point now) {
    const util::MutexLock lock(mutex_);
    forgetOldOnes(now);
    std::erase_if(lists_,
                  [&](const Kept& each) { return each.list->position() == list->position(); });
    lists_.push_back({list, now});
    if (lists_.size() > kListsMax)
        lists_.pop_front();
}

void KeptLists::forgetOldOnes(Clock::time_point now) {
    std::erase_if(lists_, [now](const Kept& each) { return now - each.readAt > kAge; });
}

}  // namespace kelp::ems
