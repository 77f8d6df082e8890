#pragma once

#include <kelp/corbabase/supplier_mgr.h>

#include <string>

namespace NS_KELPCORBA {

/// What the supplier manager calls when events were lost on the notification channel: tells the session
/// manager, whose next round tells every NMS (TMF 814 eventLossOccurred, eventLossCleared). Without state;
/// called on the supplier manager's threads, which the agent ends before the session manager goes.
class SuppilerMgrCallBack : public NS_CORBA::CallBackProcessBase {
  public:
    void OnEventLossCleared(const std::string& endTime) override;
    void OnEventLossOccurred(const std::string& startTime, const std::string& notificationId) override;
};

}  // namespace NS_KELPCORBA
