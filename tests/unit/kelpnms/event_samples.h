#pragma once

#include <string>

#include "events/event_record.h"

namespace kelp::nms {

inline EventRecord heartbeat() {
    return {"NT_HEARTBEAT",
            {{"notificationId", " "},
             {"objectName", {{"EMS", "Kelp/EMS"}}},
             {"objectType", "OT_EMS"},
             {"emsTime", "20261121073000.0Z"}}};
}

inline EventRecord alarm(const std::string& id, const std::string& severity = "PS_MAJOR") {
    return {"NT_ALARM",
            {{"notificationId", id},
             {"objectName",
              {{"EMS", "Kelp/EMS"}, {"ManagedElement", "ne-1"}, {"PTP", "/rack=1/shelf=2"}}},
             {"objectType", "OT_PHYSICAL_TERMINATION_POINT"},
             {"probableCause", "LOS"},
             {"perceivedSeverity", severity},
             {"additionalText", "no light"}}};
}

}  // namespace kelp::nms
