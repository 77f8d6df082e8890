#pragma once

#include <kelp/admin/registry.h>
#include <kelp/util/export.h>

namespace kelp::admin {

/// Every setting in use by this process, with its origin: the answer to GET /config. Secrets are
/// files that settings name, and not part of it.
KELP_EXPORT Json settingsJson();

}  // namespace kelp::admin
