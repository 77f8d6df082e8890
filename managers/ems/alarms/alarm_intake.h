#pragma once

#include <kelp/admin/registry.h>

namespace kelp::ems {

/// Accept the alarms of a request of the operator's interface, all or none. Returns when they are
/// durable: {"taken": 2, "firstNotificationId": "...", "lastNotificationId": "...", "outcomes":
/// ["raised", "repeated"]}, without the others when the request contains no alarm. Throws
/// admin::RequestError for an invalid request, and while the EMS cannot accept alarms.
admin::Json acceptAlarms(const admin::Json& request);

}  // namespace kelp::ems
