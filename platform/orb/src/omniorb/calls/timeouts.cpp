#include <kelp/orb/timeouts.h>
#include <omniORB4/omniORB.h>

#include <algorithm>
#include <limits>

namespace kelp::orb {

namespace {

thread_local std::chrono::milliseconds threadLimit{0};

/// Convert a limit to the ORB's unsigned milliseconds. A limit that has expired becomes 1 ms,
/// because 0 would switch the limit off.
CORBA::ULong orbLimit(std::chrono::milliseconds limit) {
    constexpr std::chrono::milliseconds::rep longest = std::numeric_limits<CORBA::Long>::max();
    if (limit.count() == 0)
        return 0;
    return static_cast<CORBA::ULong>(
        std::clamp<std::chrono::milliseconds::rep>(limit.count(), 1, longest));
}

}  // namespace

bool setThreadTimeout(std::chrono::milliseconds limit) {
    try {
        // the ORB keeps the limit in its own thread object, which a thread that it did not create
        // lacks at first
        thread_local omni_thread::ensure_self self;
        omniORB::setClientThreadCallTimeout(orbLimit(limit));
    } catch (const CORBA::SystemException&) {
        return false;
    }
    threadLimit = limit;
    return true;
}

bool setProcessTimeout(std::chrono::milliseconds limit) {
    try {
        omniORB::setClientCallTimeout(orbLimit(limit));
        return true;
    } catch (const CORBA::SystemException&) {
        return false;
    }
}

ScopedThreadTimeout::ScopedThreadTimeout(std::chrono::milliseconds limit) : before_(threadLimit) {
    setThreadTimeout(limit);
}

ScopedThreadTimeout::~ScopedThreadTimeout() {
    setThreadTimeout(before_);
}

}  // namespace kelp::orb
