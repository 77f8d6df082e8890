#pragma once

#include <kelp/util/export.h>

namespace kelp::util {

class Mutex;

/// The order in which one thread may lock several mutexes: each has a higher rank than all that the
/// thread already holds. Two of one rank are never held together. docs/architecture.md describes
/// the order.
enum class LockRank {
    /// Anything may be locked while it is held, except another outermost one.
    Outermost,
    /// Held alone; only the trace may be written.
    Leaf,
    /// The trace: it may be written under any other lock.
    Trace,
};

/// Aborts with the names of both when the calling thread holds a mutex whose rank is not below the
/// one that it is about to lock. Called by Mutex in debug builds.
KELP_EXPORT void checkLockOrder(const Mutex& next);
/// The calling thread has locked it.
KELP_EXPORT void rememberLocked(const Mutex& mutex);
/// The calling thread is about to unlock it.
KELP_EXPORT void forgetLocked(const Mutex& mutex);

}  // namespace kelp::util
