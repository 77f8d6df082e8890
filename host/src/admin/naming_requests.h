#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// Answer GET /naming: where NMS find the session factory, and the results of the checks of its
/// entry.
admin::Json tellNaming(const admin::Json& request);

}  // namespace kelp::host
