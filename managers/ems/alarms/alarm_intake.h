#pragma once

#include <kelp/admin/registry.h>

namespace kelp::ems {

/// Accept the alarms of a request of the operator's interface, all or none: an alarm, an array of
/// alarms, or {"idempotencyKey": "...", "alarms": [...]}. Returns when they are durable: {"taken":
/// 2, "firstNotificationId": "...", "lastNotificationId": "...", "outcomes": ["raised",
/// "repeated"]}, without the others when the request contains no alarm. A request with the key and
/// the alarms of an earlier one has no effect; its answer has the ids of the first one and the
/// outcomes "accepted earlier".
///
/// Throws admin::RequestError: 400 for an invalid request, 409 for a key that was used with other
/// alarms, 503 while the EMS cannot accept alarms.
admin::Json acceptAlarms(const admin::Json& request);

}  // namespace kelp::ems
