#pragma once

#include <cos/CosNotification.h>
#include <kelp/orb/export.h>

namespace kelp::orb {

/// Move the content of one event to another without copying its texts and properties. A sequence
/// that does not own its buffer is copied. Afterwards `from` may only be assigned to or destroyed.
KELP_EXPORT void moveEvent(CosNotification::StructuredEvent& from,
                           CosNotification::StructuredEvent& to);

}  // namespace kelp::orb
