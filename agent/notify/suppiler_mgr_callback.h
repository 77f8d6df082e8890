#pragma once

#include <kelp/corbabase/supplier_mgr.h>

#include <string>

namespace NS_KELPCORBA {

/// The callbacks of the supplier manager: events were lost on the notification channel, an alarm is
/// to be logged as text, a heartbeat is due. An event loss is passed to the session manager, which
/// reports it to every NMS in its next round (TMF 814 eventLossOccurred, eventLossCleared).
/// Stateless. Called on the threads of the supplier manager, which the agent ends before it
/// destroys the session manager.
class SuppilerMgrCallBack : public NS_CORBA::CallBackProcessBase {
  public:
    void OnEventLossCleared(const std::string& endTime) override;
    void OnEventLossOccurred(const std::string& startTime,
                             const std::string& notificationId) override;
    /// Append the alarm's fields as entries of the alarm log.
    void FormatAlarmLog(std::stringstream& out,
                        const CosNotification::StructuredEvent& event) override;
    /// Push one heartbeat event with the current time.
    void SendHeartbeat() override;
};

}  // namespace NS_KELPCORBA
