#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// Answer GET /requests: the method, path and parameters of each request that is answered now.
admin::Json tellRequests(const admin::Json& request);

}  // namespace kelp::host
