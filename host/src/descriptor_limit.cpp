#include "descriptor_limit.h"

#include <sys/resource.h>

namespace kelp::host {

void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    // on failure the old limit stays; the connection gate works with the limit in force
    (void)::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace kelp::host
