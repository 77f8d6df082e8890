#pragma once

#include <kelp/admin/registry.h>

namespace kelp::host {

/// Answers GET /threads: every thread of the process, and what those do that record their work.
admin::Json tellThreads(const admin::Json& request);

}  // namespace kelp::host
