#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// Answer GET /consumers: the delivery counts of each consumer of the embedded channel.
admin::Json tellConsumers(const admin::Json& request);

}  // namespace kelp::host
