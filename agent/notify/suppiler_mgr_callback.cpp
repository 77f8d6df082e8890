#include "notify/suppiler_mgr_callback.h"

#include <kelp/agent/session_mgr.h>

#include "notify/alarm_log_text.h"

namespace NS_KELPCORBA {

void SuppilerMgrCallBack::OnEventLossCleared(const std::string& endTime) {
    SessionMgr::Instance()->NotifyEventLossCleared(endTime);
}

void SuppilerMgrCallBack::OnEventLossOccurred(const std::string& startTime,
                                              const std::string& notificationId) {
    SessionMgr::Instance()->NotifyEventLossOccurred(startTime, notificationId);
}

void SuppilerMgrCallBack::FormatAlarmLog(std::stringstream& out,
                                         const CosNotification::StructuredEvent& event) {
    formatAlarmLog(out, event);
}

}  // namespace NS_KELPCORBA
