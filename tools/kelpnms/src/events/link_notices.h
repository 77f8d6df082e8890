#pragma once

#include <chrono>
#include <string>

#include "app/notice.h"

namespace kelp::nms {

// The notices about a link to the EMS's events. The advice says what the user should do; it is
// empty when there is nothing to do.
Notice eventLossNotice(const std::string& startTime, const std::string& notificationId,
                       const std::string& advice = "");
Notice eventLossClearedNotice(const std::string& endTime, const std::string& advice = "");
Notice alarmLossNotice(const std::string& startTime, const std::string& notificationId,
                       const std::string& advice = "");
Notice connectionLostNotice(const std::string& why);
Notice reconnectingNotice(std::chrono::milliseconds pause);
Notice reconnectFailedNotice(const std::string& why);
Notice reconnectedNotice(std::chrono::milliseconds away, const std::string& advice = "");
Notice logOutFailedNotice(const std::string& why);

}  // namespace kelp::nms
