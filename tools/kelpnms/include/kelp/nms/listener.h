#pragma once

#include <string>

namespace kelp::nms {

/// What an EMS calls on its NMS (TMF 814 nmsSession::NmsSession_I). Called on the ORB's threads,
/// concurrently. Each call holds up the EMS, so return soon; must not throw. Not called after the
/// session object is gone and its running calls have returned.
class NmsListener {
  public:
    virtual ~NmsListener() = default;
    virtual void pinged() {}
    virtual void sessionEnded() {}
    /// `startTime` is a globaldefs::Time_T text.
    virtual void eventLossOccurred(const std::string& startTime,
                                   const std::string& notificationId) {
        (void)startTime;
        (void)notificationId;
    }
    virtual void eventLossCleared(const std::string& endTime) { (void)endTime; }
    virtual void alarmLossOccurred(const std::string& startTime,
                                   const std::string& notificationId) {
        (void)startTime;
        (void)notificationId;
    }
};

}  // namespace kelp::nms
