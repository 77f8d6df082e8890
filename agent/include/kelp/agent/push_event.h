#pragma once

#include <cos/CosNotification.h>
#include <kelp/util/export.h>

#include <list>

namespace NS_KELPCORBA {

/// Hands one event over to the notification channel; the supplier manager's result (0: taken). Any
/// thread.
KELP_EXPORT int PushEvent(CosNotification::StructuredEvent& event);

/// Hands over a batch in one call, in order; an empty one too. The list is not changed.
KELP_EXPORT int PushEvents(std::list<CosNotification::StructuredEvent>& events);

}  // namespace NS_KELPCORBA
