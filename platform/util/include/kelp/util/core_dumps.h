#pragma once

#include <kelp/util/export.h>

namespace kelp::util {

/// Whether a crash of this process, or of a process that it starts from now on, leaves a core dump:
/// all of its memory. Allowed, it may be as large as the system permits.
///
/// This sets the soft limit RLIMIT_CORE. Forbidden means 1, not 0: the kernel ignores 0 where dumps
/// are piped to a program, and takes 1 for "none" in both cases. The process stays dumpable
/// otherwise (PR_SET_DUMPABLE), so that its own user can still debug it and read its /proc entries.
KELP_EXPORT void setCoreDumps(bool areAllowed) noexcept;

}  // namespace kelp::util
