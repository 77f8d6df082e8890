#pragma once

#include <kelp/util/export.h>

#include <filesystem>
#include <string>

namespace kelp::util {

/// Makes an empty file that only its owner can read and write (mode 0600), and its folder when that is
/// missing. A file that is there already stays as it is, whatever its mode. Returns what went wrong in a few
/// words that do not name the file; empty: nothing.
[[nodiscard]] KELP_EXPORT std::string makePrivateFile(const std::filesystem::path& file);

}  // namespace kelp::util
