#pragma once

#include <filesystem>

#include "state/archive_file.h"
#include "state/layout.h"
#include "state/manifest.h"

namespace kelp::state {

/// The kind of the manifest of a backup.
inline constexpr const char* kBackupKind = "kelp backup";

/// Write the state and the configuration files into a new archive. The host may run meanwhile: each
/// database is copied as it was at one moment, and the alarms fit together. Missing files are left
/// out; a configuration file that cannot be read is noted in the manifest. Throws
/// std::runtime_error with one sentence; there is no archive then, or still the previous one.
Manifest backUp(const StateLayout& layout, const std::filesystem::path& archive, Existing existing);

}  // namespace kelp::state
