#pragma once

#include <kelp/util/descriptor.h>
#include <kelp/util/export.h>

#include <filesystem>
#include <string>

namespace kelp::util {

/// Open a file for reading and writing. `flags` such as O_APPEND or O_EXCL are added. A missing
/// file is created, and its folder too (see makePrivateFolder); only its owner can read and write
/// it (mode 0600, whatever the umask). A file that root creates gets the owner of its folder, so
/// that root can work for the account of the service. A symbolic link in the file's place is not
/// followed. An existing file keeps its owner and mode, and is refused if problemOfTrust()
/// (file_trust.h) finds a problem. If the descriptor returned is not open, `problem` says why. The
/// text does not name the file.
KELP_EXPORT Descriptor openPrivateFile(const std::filesystem::path& file, int flags,
                                       std::string& problem);

/// The same for a file that somebody else opens. An existing file is not opened, so the locks that
/// this process has on it are kept. Returns what went wrong, without the file's name;
/// empty: nothing.
[[nodiscard]] KELP_EXPORT std::string makePrivateFile(const std::filesystem::path& file);

/// The same for a file that a library opens. Throws std::runtime_error with the file's name and
/// what went wrong.
KELP_EXPORT void requirePrivateFile(const std::filesystem::path& file);

/// Create a folder and all missing folders above it. Only their owner can use them (mode 0700,
/// whatever the umask). If root creates them they get the owner of the folder above. An existing
/// folder keeps its owner and mode. Symbolic links to folders are followed. Returns what went
/// wrong, as makePrivateFile().
[[nodiscard]] KELP_EXPORT std::string makePrivateFolder(const std::filesystem::path& folder);

}  // namespace kelp::util
