#pragma once

#include <filesystem>

#include "state/file_copy.h"

namespace kelp::state {

/// Copy a database, which others may be writing, to a new file. The copy is the database at one
/// moment. Throws std::runtime_error with one sentence when the file is not the expected kind of
/// database, is damaged, or stays locked.
CopyResult copyDatabase(const std::filesystem::path& from, const std::filesystem::path& to,
                        int applicationId);

/// Throws std::runtime_error with one sentence if the file, which nobody uses, is not a sound
/// database of this kind. Changes nothing and leaves no other files.
void requireSoundDatabase(const std::filesystem::path& file, int applicationId);

}  // namespace kelp::state
