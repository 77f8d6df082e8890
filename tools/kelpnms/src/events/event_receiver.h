#pragma once

#include <string>

#include "events/event_record.h"

namespace kelp::nms {

/// Receives what the EMS sends on a link: events and reports of losses. Called on the ORB's
/// threads, concurrently.
class EventReceiver {
  public:
    virtual ~EventReceiver() = default;
    virtual void show(const EventRecord& event) = 0;
    virtual void eventLossOccurred(const std::string& startTime,
                                   const std::string& notificationId) = 0;
    virtual void eventLossCleared(const std::string& endTime) = 0;
    virtual void alarmLossOccurred(const std::string& startTime,
                                   const std::string& notificationId) = 0;
};

}  // namespace kelp::nms
