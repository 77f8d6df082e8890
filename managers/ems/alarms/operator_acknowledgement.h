#pragma once

#include <kelp/admin/registry.h>

namespace kelp::ems {

/// Acknowledge alarms for an operator: {"alarms": [...], "user": "ada"}, with the optional members
/// "notepad" and "isAcknowledged" (false takes acknowledgements back). An alarm is the notification
/// id of its last event as a text, or its identity: {"objectName": {...}, "probableCause": "..."},
/// with the optional members "layerRate" and "probableCauseQualifier".
///
/// Returns when the acknowledgements are durable: {"position": "...", "outcomes": ["acknowledged",
/// "already so", "not active"]}, an outcome for each alarm. Throws admin::RequestError: 400 for an
/// invalid request, 503 while the EMS cannot accept changes; nothing is acknowledged then.
admin::Json acknowledgeForOperator(const admin::Json& request);

}  // namespace kelp::ems
