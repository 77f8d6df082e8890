#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/export.h>

namespace NS_CORBA {

/// Have the current request recorded in the operation log. The record is written when the request
/// ends, with its outcome and duration. `ri` may be null, which records nothing. `reserved` is 0.
KELP_EXPORT void TaWriteOperLog(const kelp::orb::RequestInfo* ri, int reserved);

}  // namespace NS_CORBA
