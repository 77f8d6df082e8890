#pragma once

#include <kelp/corbabase/trace.h>

namespace NS_KELPCORBA {

/// Records where the next trace line comes from: the subject's constant name and the caller's line.
inline void tracePoint(const char* subject, int line = __builtin_LINE()) {
    NS_CORBA::GetTss()->Set(subject, "unknown", line);
}

}  // namespace NS_KELPCORBA
