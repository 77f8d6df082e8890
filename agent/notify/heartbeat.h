#pragma once

#include <cos/CosNotification.h>

namespace NS_KELPCORBA {

/// A new heartbeat of now in the configured form: type NT_HEARTBEAT (TMF 814 NT_HEARTBEAT_T's four fields)
/// when HeartbeatEventType is 0, otherwise an environmental alarm of the EMS.
CosNotification::StructuredEvent makeHeartbeat();

}  // namespace NS_KELPCORBA
