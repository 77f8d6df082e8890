#pragma once

#include <kelp/corbabase/trace.h>

namespace NS_KELPCORBA {

/// Record the origin of the next trace line: the constant name of the subject and the caller's line
/// number.
inline void tracePoint(const char* subject, int line = __builtin_LINE()) {
    NS_CORBA::GetTss()->Set(subject, "unknown", line);
}

}  // namespace NS_KELPCORBA
