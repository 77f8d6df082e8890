#include <kelp/agent/push_event.h>
#include <kelp/corbabase/supplier_mgr.h>

#include <utility>
#include <vector>

namespace NS_KELPCORBA {

int PushEvent(CosNotification::StructuredEvent& event) {
    return NS_CORBA::SuppilerMgr::Instance()->PushEvent(event);
}

int PushEvents(std::list<CosNotification::StructuredEvent>& events) {
    std::vector<CosNotification::StructuredEvent> batch(events.begin(), events.end());
    return static_cast<int>(NS_CORBA::SuppilerMgr::Instance()->PushEvents(std::move(batch)));
}

}  // namespace NS_KELPCORBA
