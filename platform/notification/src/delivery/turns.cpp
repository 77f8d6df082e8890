#include "delivery/turns.h"

#include <algorithm>
#include <utility>

namespace kelp::notification {

namespace {

/// An owner without waiting consumers is forgotten after this number of turns of others.
constexpr std::uint64_t kTurnsRemembered = 4096;

}  // namespace

Turns::Turns(std::size_t threads) : threads_(threads) {}

Turns::~Turns() = default;

bool Turns::ByLastTurn::operator()(const Owner* one, const Owner* other) const {
    if (one->lastTurn != other->lastTurn)
        return one->lastTurn < other->lastTurn;
    return one->number < other->number;
}

bool Turns::add(const std::string& owner, std::shared_ptr<Subscription> subscription) {
    Owner& its = ownerOf(owner);
    std::list<Waiting> one;
    one.push_back({std::move(subscription), &its});
    makeDue(one);
    return mayHaveThread(its);
}

void Turns::add(const std::string& owner, Time when, std::shared_ptr<Subscription> subscription) {
    Owner& its = ownerOf(owner);
    std::list<Waiting> one;
    one.push_back({std::move(subscription), &its});
    timed_.emplace(when, std::move(one));
    ++its.timed;
}

bool Turns::hasten(const Subscription& subscription, Time when) {
    const auto [first, last] = timed_.equal_range(when);
    const auto found = std::find_if(first, last, [&](const auto& each) {
        return each.second.front().subscription.get() == &subscription;
    });
    if (found == last)
        return false;
    --found->second.front().owner->timed;
    makeDue(found->second);
    timed_.erase(found);
    return true;
}

Turns::Waiting Turns::take(Time now) {
    while (!timed_.empty() && timed_.begin()->first <= now) {
        --timed_.begin()->second.front().owner->timed;
        makeDue(timed_.begin()->second);
        timed_.erase(timed_.begin());
    }
    const auto next = std::find_if(due_.begin(), due_.end(),
                                   [this](const Owner* each) { return mayHaveThread(*each); });
    if (next == due_.end())
        return {};
    Owner& owner = **next;
    Places::node_type place = due_.extract(next);
    Waiting taken = std::move(owner.due.front());
    owner.due.pop_front();
    owner.lastTurn = ++turns_;
    ++owner.busy;
    ++busy_;
    if (owner.due.empty())
        owner.place = std::move(place);
    else
        due_.insert(std::move(place));
    return taken;
}

void Turns::ended(Owner& owner) {
    --owner.busy;
    --busy_;
}

bool Turns::mayHaveThread(const Owner& owner) const {
    return !owner.due.empty() && busy_ < threads_ &&
           (owner.isNobody || owner.busy < threads_ - busy_);
}

std::optional<Turns::Time> Turns::nextTime() const {
    if (timed_.empty())
        return std::nullopt;
    return timed_.begin()->first;
}

std::list<Turns::Waiting> Turns::takeAll() {
    std::list<Waiting> all;
    for (auto& [when, one] : timed_) {
        --one.front().owner->timed;
        all.splice(all.end(), one);
    }
    timed_.clear();
    while (!due_.empty()) {
        Owner& owner = **due_.begin();
        owner.place = due_.extract(due_.begin());
        all.splice(all.end(), owner.due);
    }
    return all;
}

Turns::Owner& Turns::ownerOf(const std::string& key) {
    const auto found = owners_.find(key);
    if (found != owners_.end())
        return *found->second;
    // only here: a thread that has just ended a turn may still ask about its owner
    forgetOld();
    auto made = std::make_unique<Owner>();
    made->isNobody = key.empty();
    made->number = ++ownersMade_;
    // made now, so that it can enter due_ later without allocating memory
    made->place = due_.extract(due_.insert(made.get()).first);
    return *owners_.emplace(key, std::move(made)).first->second;
}

void Turns::makeDue(std::list<Waiting>& one) {
    Owner& owner = *one.front().owner;
    owner.due.splice(owner.due.end(), one);
    if (owner.place)
        due_.insert(std::move(owner.place));
}

void Turns::forgetOld() {
    if (turns_ < forgetAt_)
        return;
    forgetAt_ = turns_ + kTurnsRemembered;
    std::erase_if(owners_, [this](const auto& each) {
        const Owner& owner = *each.second;
        return owner.busy == 0 && owner.timed == 0 && owner.due.empty() &&
               owner.lastTurn + kTurnsRemembered < turns_;
    });
}

}  // namespace kelp::notification
