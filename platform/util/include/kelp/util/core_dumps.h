#pragma once

#include <kelp/util/export.h>

namespace kelp::util {

/// Decide whether a crash of this process, or of a process that it starts from now on, leaves a
/// core dump, which contains all its memory. If core dumps are allowed, they may be as large as the
/// system permits.
///
/// Sets the soft limit RLIMIT_CORE. To forbid core dumps it is set to 1, not 0: the kernel ignores
/// 0 if dumps are piped to a program, but treats 1 as "none" in both cases. The process stays
/// dumpable otherwise (PR_SET_DUMPABLE), so that its user can still debug it and read its /proc
/// entries.
KELP_EXPORT void setCoreDumps(bool areAllowed) noexcept;

}  // namespace kelp::util
