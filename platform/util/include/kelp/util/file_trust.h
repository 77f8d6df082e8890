#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace kelp::util {

/// Who may read a file that this process relies on.
enum class FileUse {
    Trusted,  ///< anybody; others must not write it
    Secret,   ///< its owner alone
};

/// Whether the file itself may be a symbolic link. Folders above it always may.
enum class FinalLink { IsRefused, IsFollowed };

/// What keeps this process from relying on a file or folder, in a few words whose subject is the
/// file, such as "can be written by others (mode 0666)"; empty: nothing. Of a missing file the
/// folders above are judged.
///
/// Trusted is what only root and the user of this process can write:
/// - It belongs to one of the two. For root it may also belong to the owner of its folder, and a
/// folder to anybody:
///   root then works for that account.
/// - Others cannot write it. Its group can only if that is root's, or the private group of its
/// owner (of the same
///   name, without other members).
/// - The same holds for the folder that it is in. No folder above lets everybody replace what is in
/// it: one that
///   others can write has the sticky bit.
/// - It is no symbolic link, unless `link` allows that; then what it leads to is judged.
/// Devices are not judged.
KELP_EXPORT std::string problemOfTrust(const std::filesystem::path& file,
                                       FileUse use = FileUse::Trusted,
                                       FinalLink link = FinalLink::IsRefused);

/// The content of a file after the same check, made on the file that is then read. None: `problem`
/// says why, in a few words whose subject is the file; also for a file of more than `bytesMax`.
KELP_EXPORT std::optional<std::string> readTrustedFile(const std::filesystem::path& file,
                                                       FileUse use, std::string& problem,
                                                       std::size_t bytesMax = 16u << 20);

/// The path with all symbolic links resolved but that of its last component.
KELP_EXPORT std::filesystem::path inRealFolder(const std::filesystem::path& file);

}  // namespace kelp::util
