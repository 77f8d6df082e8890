#include "events/link_listener.h"

#include "events/event_extract.h"

namespace kelp::nms {

void LinkListener::sessionEnded() {
    lost_({"the EMS ended the session", true});
}

void LinkListener::eventLossOccurred(const std::string& startTime,
                                     const std::string& notificationId) {
    receiver_->eventLossOccurred(startTime, notificationId);
}

void LinkListener::eventLossCleared(const std::string& endTime) {
    receiver_->eventLossCleared(endTime);
}

void LinkListener::alarmLossOccurred(const std::string& startTime,
                                     const std::string& notificationId) {
    receiver_->alarmLossOccurred(startTime, notificationId);
}

void LinkListener::eventCame(const CosNotification::StructuredEvent& event) {
    receiver_->show(recordOf(event));
}

void LinkListener::eventsEnded() {
    lost_({"the event channel disconnected this consumer", false});
}

}  // namespace kelp::nms
