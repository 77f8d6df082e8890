#include "absences.h"

namespace kelp::notification {

void Absences::begin(Time now) {
    now_ = now;
    verdicts_.clear();
}

bool Absences::isOver(const std::optional<kelp::orb::PeerAddress>& owner) {
    if (guard_ == nullptr || !owner)
        return false;
    const auto [found, isNew] = verdicts_.try_emplace(owner->text);
    Verdict& verdict = found->second;
    if (isNew && !guard_->mayUse(*owner)) {
        const auto before = since_.find(owner->text);
        verdict.since = before != since_.end() ? before->second : now_;
        verdict.isOver = now_ - *verdict.since >= grace_;
    }
    return verdict.isOver;
}

void Absences::end() {
    since_.clear();
    for (const auto& [address, verdict] : verdicts_) {
        if (verdict.since && !verdict.isOver)
            since_[address] = *verdict.since;
    }
}

}  // namespace kelp::notification
