#pragma once

#include <gtest/gtest.h>
#include <kelp/alarms/alarm_json.h>

#include <cstdint>
#include <string>

#include "alarms/nms_alarm.h"

namespace kelp::nms {

/// The event of an alarm of the port `port`.
inline EventRecord alarmEvent(std::uint64_t id, const std::string& port,
                              const std::string& severity = "PS_MAJOR",
                              const std::string& acknowledgement = "AI_EVENT_UNACKNOWLEDGED") {
    return {"NT_ALARM",
            {{"notificationId", std::to_string(id)},
             {"objectName", {{"EMS", "Kelp/EMS"}, {"ManagedElement", "ne-1"}, {"PTP", port}}},
             {"objectType", "OT_PHYSICAL_TERMINATION_POINT"},
             {"emsTime", "20261121073000.0Z"},
             {"isClearable", true},
             {"layerRate", 20},
             {"probableCause", "LOS"},
             {"probableCauseQualifier", ""},
             {"perceivedSeverity", severity},
             {"additionalText", "no light"},
             {"acknowledgeIndication", acknowledgement}}};
}

inline NmsAlarmPtr nmsAlarm(const EventRecord& event) {
    std::string whyNot;
    NmsAlarmPtr alarm = alarmOf(event, whyNot);
    EXPECT_NE(alarm, nullptr) << whyNot;
    return alarm;
}

inline NmsAlarmPtr nmsAlarm(std::uint64_t id, const std::string& port,
                            const std::string& severity = "PS_MAJOR",
                            const std::string& acknowledgement = "AI_EVENT_UNACKNOWLEDGED") {
    return nmsAlarm(alarmEvent(id, port, severity, acknowledgement));
}

}  // namespace kelp::nms
