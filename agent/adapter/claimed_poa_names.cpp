#include "adapter/claimed_poa_names.h"

#include <kelp/orb/poas.h>
#include <kelp/util/mutex.h>
#include <kelp/util/stopping.h>

#include <algorithm>
#include <map>

namespace NS_KELPCORBA {
namespace {

struct Claims {
    kelp::util::Mutex mutex{kelp::util::LockRank::Leaf, "ClaimedPoaNames::mutex"};
    kelp::util::ConditionVariable givenUp;
    std::map<std::string, const SessionSource*> owners KELP_GUARDED_BY(mutex);
};

Claims& claims() {
    static Claims instance;
    return instance;
}

/// Wait until no source holds the name, at most until `end`. Return whether that is so.
bool waitUntilGivenUp(const std::string& name, std::chrono::steady_clock::time_point end) {
    Claims& c = claims();
    const kelp::util::MutexLock lock(c.mutex);
    while (c.owners.contains(name)) {
        if (c.givenUp.wait_until(c.mutex, end) == kelp::util::ConditionVariable::Status::timeout)
            return !c.owners.contains(name);
    }
    return true;
}

}  // namespace

bool ClaimedPoaNames::claim(const std::string& name, const SessionSource* source) {
    Claims& c = claims();
    const kelp::util::MutexLock lock(c.mutex);
    return c.owners.emplace(name, source).first->second == source;
}

bool ClaimedPoaNames::isOwner(const std::string& name, const SessionSource* source) {
    Claims& c = claims();
    const kelp::util::MutexLock lock(c.mutex);
    const auto found = c.owners.find(name);
    return found != c.owners.end() && found->second == source;
}

void ClaimedPoaNames::giveUp(const std::string& name, const SessionSource* source) {
    Claims& c = claims();
    const kelp::util::MutexLock lock(c.mutex);
    const auto found = c.owners.find(name);
    if (found == c.owners.end() || found->second != source)
        return;
    c.owners.erase(found);
    c.givenUp.notify_all();
}

bool ClaimedPoaNames::isFree(const std::string& name) {
    Claims& c = claims();
    {
        const kelp::util::MutexLock lock(c.mutex);
        if (c.owners.contains(name))
            return false;
    }
    return !kelp::orb::isNameDying(name);
}

bool ClaimedPoaNames::waitUntilFree(const std::string& name,
                                    std::chrono::steady_clock::time_point deadline) {
    using std::chrono::steady_clock;
    // short, so that the stop is noticed in time
    constexpr std::chrono::milliseconds kLook{100};
    while (!kelp::util::isStopping()) {
        const steady_clock::time_point end = std::min(deadline, steady_clock::now() + kLook);
        const bool isGivenUp = waitUntilGivenUp(name, end);
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now());
        if (isGivenUp &&
            kelp::orb::waitUntilGone(name, std::max(left, std::chrono::milliseconds(0))))
            return true;
        if (steady_clock::now() >= deadline)
            return false;
    }
    return false;
}

}  // namespace NS_KELPCORBA
