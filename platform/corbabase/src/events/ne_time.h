#pragma once

#include <cos/CosNotification.h>

namespace NS_CORBA {

/// Add an neTime to an event whose neTime is missing or empty: the event's emsTime. The standard
/// allows a missing or empty neTime (SD1-3), but NMS calculate with it. Only events of the
/// standard's domain "tmf_mtnm" are changed; heartbeats, which have no neTime, and events without
/// an emsTime are not.
void fillNeTime(CosNotification::StructuredEvent& event);

}  // namespace NS_CORBA
