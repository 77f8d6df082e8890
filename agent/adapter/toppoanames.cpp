#include "adapter/toppoanames.h"

#include <kelp/orb/poas.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>

namespace NS_KELPCORBA {
namespace {

struct Claims {
    std::mutex mutex;
    std::condition_variable givenUp;
    std::map<std::string, const SessionSource*> owners;
};

Claims& claims() {
    static Claims instance;
    return instance;
}

}  // namespace

bool TopPoaNames::claim(const std::string& name, const SessionSource* source) {
    Claims& c = claims();
    const std::lock_guard lock(c.mutex);
    return c.owners.emplace(name, source).first->second == source;
}

void TopPoaNames::giveUp(const std::string& name, const SessionSource* source) {
    Claims& c = claims();
    const std::lock_guard lock(c.mutex);
    const auto found = c.owners.find(name);
    if (found == c.owners.end() || found->second != source)
        return;
    c.owners.erase(found);
    c.givenUp.notify_all();
}

bool TopPoaNames::isFree(const std::string& name) {
    Claims& c = claims();
    {
        const std::lock_guard lock(c.mutex);
        if (c.owners.contains(name))
            return false;
    }
    return !kelp::orb::isNameDying(name);
}

bool TopPoaNames::waitUntilFree(const std::string& name, std::chrono::steady_clock::time_point deadline) {
    Claims& c = claims();
    {
        std::unique_lock lock(c.mutex);
        if (!c.givenUp.wait_until(lock, deadline, [&] { return !c.owners.contains(name); }))
            return false;
    }
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return kelp::orb::waitUntilGone(name, std::max(left, std::chrono::milliseconds(0)));
}

}  // namespace NS_KELPCORBA
