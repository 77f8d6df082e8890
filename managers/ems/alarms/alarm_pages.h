#pragma once

#include <kelp/admin/registry.h>

#include <map>
#include <string>

#include "alarms/kept_lists.h"

namespace kelp::ems {

/// Answers what operators ask about the list of alarms. Blocks neither the intake nor another
/// reader. Any thread may call it. Every operation throws admin::RequestError: 400 for a wrong
/// parameter, 404 for an alarm that is not known, 410 when the list at a position is not kept any
/// more, 503 while the EMS has no list.
class AlarmPages {
  public:
    using Parameters = std::map<std::string, std::string>;

    /// A page of the active alarms in the order of their notification ids: {"position": "...",
    /// "matching": 2, "unacknowledged": 1, "counts": {"PS_MAJOR": 2, ...}, "alarms": [...]}. The
    /// numbers are of all pages. When there are more, "next" is the `after` of the next page, to be
    /// read with "position" as `at`.
    admin::Json active(const Parameters& parameters);

    /// A page of the alarms that are over, in the order of their ends. Otherwise as above.
    admin::Json history(const Parameters& parameters);

    /// The alarm whose last event, or whose end, has this notification id: {"position": "...",
    /// "isActive": true, "alarm": {...}}.
    static admin::Json one(const std::string& notificationId);

  private:
    ListStatePtr listAt(alarms::Position position);

    KeptLists kept_;
};

}  // namespace kelp::ems
