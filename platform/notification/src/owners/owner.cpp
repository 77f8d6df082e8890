#include "owners/owner.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <utility>

namespace kelp::notification {

namespace {

bool hasLogIn(const std::vector<LogIn>& logIns, const LogIn& logIn) {
    return std::any_of(logIns.begin(), logIns.end(),
                       [&](const LogIn& each) { return each.id == logIn.id; });
}

bool shareLogIn(const std::vector<LogIn>& some, const std::vector<LogIn>& others) {
    return std::any_of(some.begin(), some.end(),
                       [&](const LogIn& each) { return hasLogIn(others, each); });
}

}  // namespace

Owner::Owner(const Caller& caller) : peer_(caller.peer), logIns_(caller.logIns) {}

std::vector<LogIn> Owner::logIns() const {
    const util::MutexLock guard(mutex_);
    return logIns_;
}

std::string Owner::key() const {
    const util::MutexLock guard(mutex_);
    return logIns_.empty() ? peer_.text : logIns_.front().id;
}

std::string Owner::text() const {
    const util::MutexLock guard(mutex_);
    return logIns_.empty() ? peer_.text : logIns_.front().name;
}

void Owner::join(const std::vector<LogIn>& logIns) {
    const util::MutexLock guard(mutex_);
    for (const LogIn& each : logIns) {
        if (!hasLogIn(logIns_, each))
            logIns_.push_back(each);
    }
}

void Owner::become(const std::vector<LogIn>& heirs) {
    const util::MutexLock guard(mutex_);
    logIns_ = heirs;
}

bool isAnyLive(const Guard& guard, const std::vector<LogIn>& logIns) {
    return std::any_of(logIns.begin(), logIns.end(),
                       [&](const LogIn& each) { return guard.isLive(each.id); });
}

Caller Owners::caller() const {
    const kelp::orb::RequestInfo* const request = kelp::orb::currentRequest();
    if (request == nullptr)
        return {true, {}, {}};
    return {false, request->peer(),
            guard_ == nullptr ? std::vector<LogIn>() : guard_->logInsOf(*request)};
}

bool Owners::mayUse(const Caller& caller) const {
    if (guard_ == nullptr || caller.isInside)
        return true;
    return guard_->mayUse(caller.peer) &&
           (caller.logIns.empty() || isAnyLive(*guard_, caller.logIns));
}

OwnerPtr Owners::of(const Caller& caller, const OwnerPtr& parent) {
    if (caller.isInside)
        return nullptr;
    if (parent && caller.logIns.empty() && parent->peer().text == caller.peer.text)
        return parent;
    auto made = std::make_shared<Owner>(caller);
    const std::string key = made->key();
    const util::MutexLock guard(mutex_);
    for (OwnerPtr& each : allLocked()) {
        if (each->key() != key)
            continue;
        each->join(caller.logIns);
        return std::move(each);
    }
    owners_.push_back(made);
    return made;
}

bool Owners::isShown(const Caller& caller, const OwnerPtr& owner) {
    if (caller.isInside)
        return true;
    if (!owner)
        return false;
    const std::vector<LogIn> logIns = owner->logIns();
    if (logIns.empty())
        return caller.logIns.empty() && caller.peer.text == owner->peer().text;
    return shareLogIn(caller.logIns, logIns);
}

bool Owners::mayCall(const Caller& caller, const OwnerPtr& owner) const {
    if (caller.isInside || !owner)
        return true;
    const std::vector<LogIn> logIns = owner->logIns();
    const bool isSameAddress = caller.peer.text == owner->peer().text;
    const bool isItsOwn = shareLogIn(caller.logIns, logIns);
    if (!isItsOwn && !isSameAddress)
        return false;
    if (logIns.empty() || caller.logIns.empty())
        return true;
    if (guard_ != nullptr && !isAnyLive(*guard_, logIns) && isAnyLive(*guard_, caller.logIns)) {
        owner->become(caller.logIns);
        return true;
    }
    return isItsOwn;
}

std::vector<OwnerPtr> Owners::all() {
    const util::MutexLock guard(mutex_);
    return allLocked();
}

std::vector<OwnerPtr> Owners::allLocked() {
    std::vector<OwnerPtr> living;
    std::erase_if(owners_, [&](const std::weak_ptr<Owner>& each) {
        OwnerPtr owner = each.lock();
        if (!owner)
            return true;
        living.push_back(std::move(owner));
        return false;
    });
    return living;
}

void traceDropped(const std::string& proxy, const OwnerPtr& owner) {
    std::string text =
        proxy + " of " + (owner ? owner->peer().text : "this process") + " is dropped: ";
    if (owner && !owner->logIns().empty())
        text += "the log-in of " + owner->text() + " has ended";
    else
        text += "nobody may use the channel from there any more";
    kelp::util::traceFrom("notification", text);
}

}  // namespace kelp::notification
