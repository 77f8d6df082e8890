#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "alarms/alarm_filter.h"
#include "alarms/alarm_view.h"
#include "app/command.h"

namespace kelp::nms {

/// The options of the command `alarms`.
struct AlarmsOptions {
    AlarmFilter filter;
    AlarmView::Settings view;
    bool once = false;  ///< end after the first complete read
    std::uint32_t batch = 500;
    std::optional<std::chrono::milliseconds> duration;  ///< how long to follow; none: no limit
};

/// Run the command `alarms`: log in, subscribe, read the active alarms, and follow them until there
/// is a reason to end. Returns the exit code. Throws NmsError.
int followAlarms(const CommandContext& context, const AlarmsOptions& options);

}  // namespace kelp::nms
