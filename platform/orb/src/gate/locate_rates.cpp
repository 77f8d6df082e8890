#include "locate_rates.h"

#include <cstddef>

namespace kelp::orb::gate {

namespace {

constexpr std::size_t kAddressesMax = 4096;

}  // namespace

bool LocateRates::take(const std::string& address, unsigned limit, Time now) {
    const util::MutexLock lock(mutex_);
    if (seconds_.size() >= kAddressesMax)
        std::erase_if(seconds_, [now](const auto& each) {
            return now - each.second.begin >= std::chrono::seconds(1);
        });
    Second& second = seconds_[address];
    if (now - second.begin >= std::chrono::seconds(1))
        second = {now, 0};
    return ++second.count <= limit;
}

}  // namespace kelp::orb::gate
