#pragma once

#include <cos/CosNotification.h>

#include <cstdint>
#include <string>

namespace NS_KELPCORBA {

/// A new heartbeat of now. Type 0 gives an NT_HEARTBEAT (TMF 814 NT_HEARTBEAT_T's four fields), any
/// other an environmental alarm of the EMS, whose name may be empty.
CosNotification::StructuredEvent makeHeartbeat(std::int32_t type, const std::string& emsName);

/// The same of the configured type and EMS, which are read each time.
CosNotification::StructuredEvent makeHeartbeat();

}  // namespace NS_KELPCORBA
