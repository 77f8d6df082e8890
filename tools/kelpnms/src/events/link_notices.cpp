#include "events/link_notices.h"

#include <cmath>

namespace kelp::nms {

namespace {

/// Return the duration in seconds, rounded to tenths.
double roundedSeconds(std::chrono::milliseconds duration) {
    return std::round(std::chrono::duration<double>(duration).count() * 10) / 10;
}

}  // namespace

Notice eventLossNotice(const std::string& startTime, const std::string& notificationId,
                       const std::string& advice) {
    return {"eventLossOccurred",
            {{"startTime", startTime}, {"notificationId", notificationId}},
            advice};
}

Notice eventLossClearedNotice(const std::string& endTime, const std::string& advice) {
    return {"eventLossCleared", {{"endTime", endTime}}, advice};
}

Notice alarmLossNotice(const std::string& startTime, const std::string& notificationId,
                       const std::string& advice) {
    return {"alarmLossOccurred",
            {{"startTime", startTime}, {"notificationId", notificationId}},
            advice};
}

Notice connectionLostNotice(const std::string& why) {
    return {"connectionLost", {{"reason", why}}, ""};
}

Notice reconnectingNotice(std::chrono::milliseconds pause) {
    return {"reconnecting", {{"inSeconds", roundedSeconds(pause)}}, ""};
}

Notice reconnectFailedNotice(const std::string& why) {
    return {"reconnectFailed", {{"reason", why}}, ""};
}

Notice reconnectedNotice(std::chrono::milliseconds away, const std::string& advice) {
    return {"reconnected", {{"awaySeconds", roundedSeconds(away)}}, advice};
}

Notice logOutFailedNotice(const std::string& why) {
    return {"logOutFailed",
            {{"reason", why}},
            "the EMS ends the session when this NMS answers no more pings"};
}

}  // namespace kelp::nms
