#include <kelp/util/lock_rank.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace kelp::util {

namespace {

/// More than any thread holds at once.
constexpr std::size_t kHeldMax = 32;

/// The locks that the calling thread holds. Needs no memory and no destructor, so it works in
/// every thread until its very end.
struct HeldLocks {
    std::array<const RankedLock*, kHeldMax> locks;
    std::size_t count;
};

HeldLocks& held() {
    thread_local HeldLocks locks{};
    return locks;
}

[[noreturn]] void abortWith(const char* what, const char* one, const char* other) {
    std::fprintf(stderr, "%s %s while %s is held\n", what, one, other);
    std::abort();
}

}  // namespace

void checkLockOrder(const RankedLock& next) {
    const HeldLocks& mine = held();
    for (std::size_t i = 0; i < mine.count; ++i) {
        if (mine.locks[i]->rank() >= next.rank())
            abortWith("lock order violated: locking", next.name(), mine.locks[i]->name());
    }
}

void rememberLocked(const RankedLock& lock) {
    HeldLocks& mine = held();
    if (mine.count == kHeldMax)
        abortWith("too many locks: locking", lock.name(), mine.locks[0]->name());
    mine.locks[mine.count++] = &lock;
}

void forgetLocked(const RankedLock& lock) {
    HeldLocks& mine = held();
    const auto end = mine.locks.begin() + static_cast<std::ptrdiff_t>(mine.count);
    const auto found = std::find(mine.locks.begin(), end, &lock);
    if (found == end)
        abortWith("unlocking", lock.name(), "it is not locked by this thread: nothing");
    std::move(found + 1, end, found);
    --mine.count;
}

}  // namespace kelp::util
