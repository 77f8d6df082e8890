#pragma once

#include "events/event_record.h"

#include <cos/CosNotification.h>

namespace kelp::nms {

/// The event in plain values. Needs a running ORB.
EventRecord recordOf(const CosNotification::StructuredEvent& event);

}  // namespace kelp::nms
