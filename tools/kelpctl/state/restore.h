#pragma once

#include <filesystem>
#include <vector>

#include "state/layout.h"
#include "state/manifest.h"

namespace kelp::state {

/// What to restore.
struct RestoreRequest {
    std::filesystem::path archive;
    /// New folder for the configuration files of the archive; empty: they are not unpacked.
    std::filesystem::path configurationFolder;
    bool keepPrevious = false;  ///< keep the files that were replaced
};

/// What was restored.
struct RestoreResult {
    Manifest manifest;
    std::vector<std::filesystem::path> previous;  ///< folders with the files that were kept
};

/// Replace the whole state by that of a backup, which may be hostile. Nothing is changed unless the
/// archive is complete and unchanged and all its databases are sound. Throws std::runtime_error
/// with one sentence; the state is then as it was.
RestoreResult restoreState(const StateLayout& layout, const RestoreRequest& request);

/// Put back what a restore replaced, whether it was interrupted or kept the previous files. Throws
/// std::runtime_error with one sentence.
void undoRestore(const StateLayout& layout);

}  // namespace kelp::state
