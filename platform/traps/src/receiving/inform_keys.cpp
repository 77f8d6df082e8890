#include "receiving/inform_keys.h"

#include <limits>

namespace kelp::traps {

namespace {

/// FNV-1a. It need not resist collisions that somebody makes on purpose: an inform of another
/// sender always has another key.
std::uint64_t hashOf(const std::string& text) {
    std::uint64_t hash = 14695981039346656037u;
    for (const char each : text)
        hash = (hash ^ static_cast<unsigned char>(each)) * 1099511628211u;
    return hash;
}

std::string contentKey(const Trap& inform) {
    const std::string content = std::to_string(inform.upTime) + " " +
                                contentOfTrap(inform, std::numeric_limits<std::size_t>::max() / 2);
    return inform.address + "/" + inform.user + "/" + std::to_string(inform.requestId) + "/" +
           std::to_string(hashOf(content));
}

}  // namespace

std::string InformKeys::keyOf(const Trap& inform, Time now) {
    std::string key = contentKey(inform);
    bool isFirstOfItsKind = true;
    if (const auto place = places_.find(key); place != places_.end()) {
        const Seen& seen = *place->second;
        if (now - seen.first > kRepeatedWithin) {
            isFirstOfItsKind = false;
            seen_.erase(place->second);
            places_.erase(place);
        }
    }
    if (!places_.contains(key)) {
        seen_.push_front({key, now, isFirstOfItsKind});
        places_.emplace(key, seen_.begin());
    }
    while (seen_.size() > kRememberedMax) {
        places_.erase(seen_.back().key);
        seen_.pop_back();
    }
    const Seen& seen = *places_.at(key);
    if (seen.isFirstOfItsKind)
        return key;
    return key + "/" + std::to_string(seen.first.time_since_epoch().count());
}

}  // namespace kelp::traps
