#pragma once

#include <kelp/admin/registry.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

#include "state/archive_file.h"
#include "state/layout.h"
#include "state/manifest.h"

namespace kelp::state {

/// The kind of the manifest of a support bundle.
inline constexpr const char* kSupportKind = "kelp support bundle";

/// What a support bundle asks and contains.
struct SupportRequest {
    /// Ask the host for what is at a path of its operator's interface. Throws std::exception with
    /// why there is no answer; `isRunning` is set to whether the host answered at all.
    std::function<admin::Json(const std::string& path, bool& isRunning)> ask;
    std::size_t traceBytesMax = 10u << 20;
};

/// Write what support needs to know of a host into a new archive: its answers, its effective
/// configuration, the end of its trace, sizes of files, disks, and limits of the kernel. Secrets
/// are not included: neither password hashes nor keys, tokens, communities or passwords. If the
/// host does not run, the archive has what is in files, and says so. Throws std::runtime_error with
/// one sentence.
Manifest collectSupport(const StateLayout& layout, const std::filesystem::path& archive,
                        Existing existing, const SupportRequest& request);

}  // namespace kelp::state
