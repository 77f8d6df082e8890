#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// The answer to GET /consumers: what became of the events, consumer by consumer of the embedded
/// channel.
admin::Json tellConsumers(const admin::Json& request);

}  // namespace kelp::host
