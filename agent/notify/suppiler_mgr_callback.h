#pragma once

#include <kelp/corbabase/supplier_mgr.h>

#include <string>

namespace NS_KELPCORBA {

/// What the supplier manager calls: when events were lost on the notification channel, to tell the
/// session manager, whose next round tells every NMS (TMF 814 eventLossOccurred, eventLossCleared);
/// for an alarm in words; and for heartbeats. Without state; called on the supplier manager's
/// threads, which the agent ends before the session manager goes.
class SuppilerMgrCallBack : public NS_CORBA::CallBackProcessBase {
  public:
    void OnEventLossCleared(const std::string& endTime) override;
    void OnEventLossOccurred(const std::string& startTime,
                             const std::string& notificationId) override;
    /// Appends the alarm's known fields, an entry each, by SuppilerMgr::FormatLog. A field of
    /// another type counts as missing.
    void FormatAlarmLog(std::stringstream& out,
                        const CosNotification::StructuredEvent& event) override;
    /// Pushes one heartbeat event of now.
    void SendHeartbeat() override;
};

}  // namespace NS_KELPCORBA
