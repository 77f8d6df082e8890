#include "owners/absences.h"

namespace kelp::notification {

void Absences::begin(Time now) {
    now_ = now;
    next_.clear();
    addresses_.clear();
}

bool Absences::isOver(const Owner& owner) {
    if (guard_ == nullptr)
        return false;
    const auto [found, isNew] = next_.try_emplace(owner.key());
    Since& since = found->second;
    if (isNew && isAbsent(owner)) {
        const auto before = since_.find(found->first);
        since = before != since_.end() ? before->second : now_;
    }
    return since && now_ - *since >= grace_;
}

void Absences::end() {
    since_.clear();
    for (const auto& [owner, since] : next_) {
        if (since && now_ - *since < grace_)
            since_[owner] = *since;
    }
}

bool Absences::isAbsent(const Owner& owner) {
    const std::vector<LogIn> logIns = owner.logIns();
    return !mayUse(owner.peer()) || (!logIns.empty() && !isAnyLive(*guard_, logIns));
}

bool Absences::mayUse(const kelp::util::PeerAddress& address) {
    const auto [found, isNew] = addresses_.try_emplace(address.text, true);
    if (isNew)
        found->second = guard_->mayUse(address);
    return found->second;
}

}  // namespace kelp::notification
