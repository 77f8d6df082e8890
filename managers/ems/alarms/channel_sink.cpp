#include "alarms/channel_sink.h"

#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/inventory/failure.h>
#include <kelp/util/trace_log.h>

#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm_view.h"
#include "common/alarm_event.h"
#include "common/network_event.h"

namespace kelp::ems {

namespace {

constexpr const char* kSinkSubject = "network changes";

/// Returns false for a change that cannot be sent. It would fail each time.
bool fillChange(CosNotification::StructuredEvent& structured, const alarms::Event& event,
                const alarms::NetworkChange& change) {
    try {
        managers::fillNetworkEvent(structured, change, std::to_string(event.position),
                                   timeText(event.emsTime));
        return true;
    } catch (const inventory::InventoryFailure& failure) {
        util::traceFrom(kSinkSubject, "the change " + std::to_string(event.position) +
                                          " cannot be sent and is left out: " + failure.what());
        return false;
    }
}

}  // namespace

bool ChannelSink::send(std::span<const alarms::Event> events) {
    std::vector<CosNotification::StructuredEvent> structured(events.size());
    std::size_t count = 0;
    for (const alarms::Event& each : events) {
        if (const auto* const alarm = std::get_if<alarms::Event::AlarmContent>(&each.what))
            managers::fillAlarmEvent(structured[count++], **alarm, each.position, each.emsTime);
        else if (const auto* const change = std::get_if<alarms::Event::NetworkContent>(&each.what);
                 change != nullptr && fillChange(structured[count], each, **change))
            ++count;
    }
    structured.resize(count);
    return NS_CORBA::SuppilerMgr::Instance()->PushEvents(std::move(structured)) == 0;
}

}  // namespace kelp::ems
