#pragma once

#include <cos/CosNotification.h>

#include "events/event_record.h"

namespace kelp::nms {

/// Convert the event to plain values. Needs a running ORB.
EventRecord recordOf(const CosNotification::StructuredEvent& event);

}  // namespace kelp::nms
