#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/util/export.h>

#include <compare>
#include <cstddef>
#include <functional>

namespace kelp::alarms {

/// The identity of an alarm (TMF 814): two alarms with the same one are states of the same alarm.
struct AlarmId {
    Name objectName;
    std::int16_t layerRate = 1;
    std::string probableCause;
    std::string probableCauseQualifier;

    std::strong_ordering operator<=>(const AlarmId&) const = default;
    bool operator==(const AlarmId&) const = default;
};

KELP_EXPORT AlarmId identityOf(const Alarm& alarm);

/// Compare the identities of two alarms without copying them.
KELP_EXPORT std::strong_ordering compareIdentity(const Alarm& alarm, const AlarmId& id);

/// A hash that depends on nothing but the identity.
KELP_EXPORT std::size_t hashOf(const AlarmId& id);

}  // namespace kelp::alarms

template <>
struct std::hash<kelp::alarms::AlarmId> {
    std::size_t operator()(const kelp::alarms::AlarmId& id) const {
        return kelp::alarms::hashOf(id);
    }
};
