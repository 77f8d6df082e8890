#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// Answer GET /status: one sentence on the health of the process, and its conditions, the worst
/// first.
admin::Json tellStatus(const admin::Json& request);

}  // namespace kelp::host
