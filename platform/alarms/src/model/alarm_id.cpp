#include "kelp/alarms/alarm_id.h"

#include <string_view>
#include <tuple>

namespace kelp::alarms {

namespace {

void mix(std::size_t& seed, std::size_t hash) {
    constexpr std::size_t kGolden = 0x9e3779b97f4a7c15;
    seed ^= hash + kGolden + (seed << 6) + (seed >> 2);
}

void mix(std::size_t& seed, const std::string& text) {
    mix(seed, std::hash<std::string_view>()(text));
}

}  // namespace

AlarmId identityOf(const Alarm& alarm) {
    return {alarm.objectName, alarm.layerRate, alarm.probableCause, alarm.probableCauseQualifier};
}

std::strong_ordering compareIdentity(const Alarm& alarm, const AlarmId& id) {
    return std::tie(alarm.objectName, alarm.layerRate, alarm.probableCause,
                    alarm.probableCauseQualifier) <=>
           std::tie(id.objectName, id.layerRate, id.probableCause, id.probableCauseQualifier);
}

std::size_t hashOf(const AlarmId& id) {
    std::size_t seed = static_cast<std::size_t>(id.layerRate);
    for (const auto& [name, value] : id.objectName) {
        mix(seed, name);
        mix(seed, value);
    }
    mix(seed, id.probableCause);
    mix(seed, id.probableCauseQualifier);
    return seed;
}

}  // namespace kelp::alarms
