#pragma once

#include <cos/CosNotification.h>

#include <cstdint>
#include <string>

namespace NS_KELPCORBA {

/// Make a heartbeat event with the current time. Type 0 gives an NT_HEARTBEAT with the four fields
/// of TMF 814 NT_HEARTBEAT_T. Any other type gives an environmental alarm of the EMS. The EMS name
/// may be empty.
CosNotification::StructuredEvent makeHeartbeat(std::int32_t type, const std::string& emsName);

/// The same with the configured type and EMS name, which are read at each call.
CosNotification::StructuredEvent makeHeartbeat();

}  // namespace NS_KELPCORBA
