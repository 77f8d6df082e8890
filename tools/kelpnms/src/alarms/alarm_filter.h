#pragma once

#include <set>
#include <string>
#include <vector>

#include "alarms/nms_alarm.h"

namespace kelp::nms {

/// The alarms that the operator wants to see: those that all members accept.
struct AlarmFilter {
    std::set<alarms::Severity> severities;  ///< empty: all
    /// Components with which the object's name begins. They may begin behind the component EMS.
    /// Empty: all.
    alarms::Name object;
    bool onlyUnacknowledged = false;

    bool accepts(const NmsAlarm& alarm) const;
};

/// Read the components of a name, each as "ManagedElement=NE-1". Throws std::invalid_argument.
alarms::Name objectNameFrom(const std::vector<std::string>& components);

}  // namespace kelp::nms
