#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// The answer to GET /naming: where NMS find the session factory, and what the watch over its entry
/// has found.
admin::Json tellNaming(const admin::Json& request);

}  // namespace kelp::host
