#pragma once

#include <string>

namespace kelp::nms {

/// The operations that an EMS calls on its NMS (TMF 814 nmsSession::NmsSession_I). They are called
/// concurrently on the ORB's threads. The EMS waits for each call, so return soon. They must not
/// throw. They are no longer called once the session object is destroyed and its running calls have
/// returned.
class NmsListener {
  public:
    virtual ~NmsListener() = default;
    virtual void pinged() {}
    virtual void sessionEnded() {}
    /// `startTime` is the text of a globaldefs::Time_T.
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
