#pragma once

#include <kelp/orb/event_sender.h>

namespace kelp::orb {

/// Return the events, copied into one sequence.
CosNotification::EventBatch batchOf(std::span<const SharedEvent* const> events);

}  // namespace kelp::orb
