#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// Answer GET /config: every setting with its value and origin. No setting is a secret: settings
/// only name the files with passwords and communities.
admin::Json tellConfiguration(const admin::Json& request);

/// Answer POST /reload: read the configuration again. Return what has changed and what waits for a
/// restart. Throws RequestError with all problems (kConflict); then nothing has changed.
admin::Json reload(const admin::Json& request);

/// Answer GET /version.
admin::Json tellVersion(const admin::Json& request);

}  // namespace kelp::host
