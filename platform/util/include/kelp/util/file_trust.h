#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace kelp::util {

/// Who may read a file that this process relies on.
enum class FileUse {
    Trusted,  ///< everybody may read it; only trusted users may write it
    Secret,   ///< only its owner may read it
};

/// Whether the file itself may be a symbolic link. Folders above it always may.
enum class FinalLink { IsRefused, IsFollowed };

/// Return why this process cannot trust a file or folder. The text continues a sentence that begins
/// with the file, such as "can be written by others (mode 0666)". Empty if the file can be trusted.
/// For a missing file only the folders above it are checked.
///
/// A file is trusted if only root and the user of this process can write it:
/// - Its owner is root or the user of this process. If this process runs as root, a folder may
/// belong to any account, and a file may also belong to the owner of its folder. Root then works
/// for that account.
/// - Others cannot write it. Its group can write it only if that is root's group or the private
/// group of its owner (a group with the owner's name and without other members).
/// - The folder of the file meets the same conditions. A folder further up that everybody can write
/// has the sticky bit, so that nobody can replace other users' files in it.
/// - It is not a symbolic link, unless `link` allows that. Then the target must meet these
/// conditions too.
///
/// Character devices are always trusted.
KELP_EXPORT std::string problemOfTrust(const std::filesystem::path& file,
                                       FileUse use = FileUse::Trusted,
                                       FinalLink link = FinalLink::IsRefused);

/// Check the file as problemOfTrust() does, and return its content. The check is made on the open
/// file, so that the file cannot be exchanged in between. Returns nothing if the file cannot be
/// trusted or read, or has more than `bytesMax` bytes; `problem` then says why, in the form of
/// problemOfTrust().
KELP_EXPORT std::optional<std::string> readTrustedFile(const std::filesystem::path& file,
                                                       FileUse use, std::string& problem,
                                                       std::size_t bytesMax = 16u << 20);

/// Resolve all symbolic links in the path except in its last component.
KELP_EXPORT std::filesystem::path inRealFolder(const std::filesystem::path& file);

}  // namespace kelp::util
