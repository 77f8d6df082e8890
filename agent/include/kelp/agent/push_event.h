#pragma once

#include <cos/CosNotification.h>
#include <kelp/util/export.h>

#include <list>

namespace NS_KELPCORBA {

/// Pass one event to the notification channel. Return the result of the supplier manager: 0 when it
/// accepted the event. Any thread may call it.
KELP_EXPORT int PushEvent(CosNotification::StructuredEvent& event);

/// Pass a batch of events to the channel in one call, in order. The batch may be empty. The list is
/// not changed.
KELP_EXPORT int PushEvents(std::list<CosNotification::StructuredEvent>& events);

}  // namespace NS_KELPCORBA
