#pragma once

#include <kelp/util/descriptor.h>
#include <kelp/util/export.h>

#include <filesystem>
#include <string>

namespace kelp::util {

/// Opens a file for reading and writing, with `flags` such as O_APPEND or O_EXCL added. A missing
/// file is made, and its folder too (see makePrivateFolder): only its owner can read and write it
/// (mode 0600), whatever the umask. A file made by root gets the owner of its folder, so that root
/// can work for the account of the service. A symbolic link in the file's place is not followed. An
/// existing file stays as it is; it is refused when problemOfTrust (file_trust.h) finds one. Not
/// open: `problem` says why, in a few words that do not name the file.
KELP_EXPORT Descriptor openPrivateFile(const std::filesystem::path& file, int flags,
                                       std::string& problem);

/// The same for a file that somebody else is to open. Returns what went wrong in a few words that
/// do not name the file; empty: nothing.
[[nodiscard]] KELP_EXPORT std::string makePrivateFile(const std::filesystem::path& file);

/// The same for a file that a library is to open. Throws std::runtime_error with the file and what
/// went wrong.
KELP_EXPORT void requirePrivateFile(const std::filesystem::path& file);

/// Makes a folder, and those above it that are missing, for their owner alone (mode 0700), whatever
/// the umask. Root gives them the owner of the folder above. An existing folder stays as it is;
/// symbolic links to folders are followed. Returns what went wrong, as above.
[[nodiscard]] KELP_EXPORT std::string makePrivateFolder(const std::filesystem::path& folder);

}  // namespace kelp::util
