#include "alarms/channel_sink.h"

#include <kelp/corbabase/supplier_mgr.h>

#include <utility>
#include <vector>

#include "common/alarm_event.h"

namespace kelp::ems {

bool ChannelSink::send(std::span<const alarms::Event> events) {
    std::vector<CosNotification::StructuredEvent> structured(events.size());
    std::size_t count = 0;
    for (const alarms::Event& each : events) {
        if (const auto* const alarm = std::get_if<alarms::Event::AlarmContent>(&each.what))
            managers::fillAlarmEvent(structured[count++], **alarm, each.position, each.emsTime);
    }
    structured.resize(count);
    return NS_CORBA::SuppilerMgr::Instance()->PushEvents(std::move(structured)) == 0;
}

}  // namespace kelp::ems
