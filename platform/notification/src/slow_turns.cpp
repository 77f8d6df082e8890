#include "slow_turns.h"

#include <utility>

namespace kelp::notification {

namespace {

/// How many turns of others an owner without waiting consumers is remembered for.
constexpr std::uint64_t kTurnsRemembered = 4096;

}  // namespace

void SlowTurns::add(const std::string& owner, Time when, std::shared_ptr<Subscription> subscription) {
    owners_[owner].waiting.emplace(when, std::move(subscription));
}

std::shared_ptr<Subscription> SlowTurns::takeDue(Time now) {
    Owner* next = nullptr;
    for (auto& [key, owner] : owners_) {
        if (owner.waiting.empty() || owner.waiting.begin()->first > now)
            continue;
        if (next == nullptr || owner.lastTurn < next->lastTurn)
            next = &owner;
    }
    if (next == nullptr)
        return nullptr;
    std::shared_ptr<Subscription> taken = std::move(next->waiting.begin()->second);
    next->waiting.erase(next->waiting.begin());
    next->lastTurn = ++turns_;
    forgetOld();
    return taken;
}

std::optional<SlowTurns::Time> SlowTurns::nextTime() const {
    std::optional<Time> next;
    for (const auto& [key, owner] : owners_) {
        if (!owner.waiting.empty() && (!next || owner.waiting.begin()->first < *next))
            next = owner.waiting.begin()->first;
    }
    return next;
}

std::vector<std::shared_ptr<Subscription>> SlowTurns::takeAll() {
    std::vector<std::shared_ptr<Subscription>> all;
    for (auto& [key, owner] : owners_) {
        for (auto& [when, subscription] : owner.waiting)
            all.push_back(std::move(subscription));
    }
    owners_.clear();
    return all;
}

void SlowTurns::forgetOld() {
    if (turns_ % kTurnsRemembered != 0)
        return;
    std::erase_if(owners_, [this](const auto& each) {
        return each.second.waiting.empty() && each.second.lastTurn + kTurnsRemembered < turns_;
    });
}

}  // namespace kelp::notification
