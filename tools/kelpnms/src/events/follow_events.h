#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "app/command.h"

namespace kelp::nms {

/// The options of the command `events`.
struct EventsOptions {
    std::string filter;                                 ///< filter constraint; empty: every event
    bool sequences = false;                             ///< receive events in batches
    unsigned count = 0;                                 ///< events to wait for; 0: no limit
    std::optional<std::chrono::milliseconds> duration;  ///< how long to follow; none: no limit
    /// The EMS's heartbeat interval. None: it is learned from the first two heartbeats.
    std::optional<std::chrono::milliseconds> heartbeatInterval;
    bool reconnect = true;  ///< log in again when the events end
};

/// Run the command `events`: log in and show events until there is a reason to end. Returns the
/// exit code. Throws NmsError.
int followEvents(const CommandContext& context, const EventsOptions& options);

}  // namespace kelp::nms
