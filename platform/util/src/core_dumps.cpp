#include <kelp/util/core_dumps.h>
#include <sys/resource.h>

#include <algorithm>

namespace kelp::util {

namespace {

constexpr rlim_t kNone = 1;

}  // namespace

void setCoreDumps(bool areAllowed) noexcept {
    rlimit limit{};
    if (::getrlimit(RLIMIT_CORE, &limit) != 0)
        return;
    limit.rlim_cur = areAllowed ? limit.rlim_max : std::min(kNone, limit.rlim_max);
    // cannot fail: the soft limit is not above the hard limit
    ::setrlimit(RLIMIT_CORE, &limit);
}

}  // namespace kelp::util
