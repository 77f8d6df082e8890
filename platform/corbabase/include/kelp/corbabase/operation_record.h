#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/export.h>

namespace NS_CORBA {

/// Request an operation log record for the current request. It is written when the request ends,
/// with its outcome and duration. `ri` may be null, which records nothing. `reserved` is 0.
KELP_EXPORT void TaWriteOperLog(const kelp::orb::RequestInfo* ri, int reserved);

}  // namespace NS_CORBA
