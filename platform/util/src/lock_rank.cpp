#include <kelp/util/lock_rank.h>
#include <kelp/util/mutex.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

namespace kelp::util {

namespace {

/// More than any thread holds at once.
constexpr std::size_t kHeldMax = 32;

/// The mutexes that the calling thread holds. Needs no memory and no destructor, so it works in
/// every thread until its very end.
struct HeldMutexes {
    std::array<const Mutex*, kHeldMax> mutexes;
    std::size_t count;
};

HeldMutexes& held() {
    thread_local HeldMutexes mutexes{};
    return mutexes;
}

[[noreturn]] void abortWith(const char* what, const char* one, const char* other) {
    std::fprintf(stderr, "%s %s while %s is held\n", what, one, other);
    std::abort();
}

}  // namespace

void checkLockOrder(const Mutex& next) {
    const HeldMutexes& mine = held();
    for (std::size_t i = 0; i < mine.count; ++i) {
        if (mine.mutexes[i]->rank() >= next.rank())
            abortWith("lock order violated: locking", next.name(), mine.mutexes[i]->name());
    }
}

void rememberLocked(const Mutex& mutex) {
    HeldMutexes& mine = held();
    if (mine.count == kHeldMax)
        abortWith("too many locks: locking", mutex.name(), mine.mutexes[0]->name());
    mine.mutexes[mine.count++] = &mutex;
}

void forgetLocked(const Mutex& mutex) {
    HeldMutexes& mine = held();
    const auto end = mine.mutexes.begin() + static_cast<std::ptrdiff_t>(mine.count);
    const auto found = std::find(mine.mutexes.begin(), end, &mutex);
    if (found == end)
        abortWith("unlocking", mutex.name(), "it is not locked by this thread: nothing");
    std::move(found + 1, end, found);
    --mine.count;
}

}  // namespace kelp::util
