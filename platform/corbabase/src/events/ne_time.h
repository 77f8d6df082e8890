#pragma once

#include <cos/CosNotification.h>

namespace NS_CORBA {

/// Gives an event of the standard (domain "tmf_mtnm") whose source says no time of its element, or
/// an empty one, the time of the EMS as its neTime. The standard lets neTime be missing or empty
/// (SD1-3), but NMS compute with it. Heartbeats, which have no neTime, and events without an
/// emsTime stay as they are.
void fillNeTime(CosNotification::StructuredEvent& event);

}  // namespace NS_CORBA
