#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// Answer GET /healthz: the process answers. No NMS and no other process has an influence.
admin::Json tellAlive(const admin::Json& request);

/// Answer GET /readyz: NMS can find the session factory. Otherwise the request is refused with the
/// status 503 and the reason. No NMS has an influence.
admin::Json tellReadiness(const admin::Json& request);

}  // namespace kelp::host
