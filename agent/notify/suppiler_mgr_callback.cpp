#include "notify/suppiler_mgr_callback.h"

#include <kelp/agent/session_mgr.h>

namespace NS_KELPCORBA {

void SuppilerMgrCallBack::OnEventLossCleared(const std::string& endTime) {
    SessionMgr::Instance()->NotifyEventLossCleared(endTime);
}

void SuppilerMgrCallBack::OnEventLossOccurred(const std::string& startTime,
                                              const std::string& notificationId) {
    SessionMgr::Instance()->NotifyEventLossOccurred(startTime, notificationId);
}

}  // namespace NS_KELPCORBA
