#pragma once

#include <kelp/util/export.h>
#include <sys/types.h>

#include <filesystem>

namespace kelp::util {

/// Identifies the file that a path leads to, whatever its content. All members are 0 if there is no
/// file. No other file gets the same identity while a process has this file open.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

KELP_EXPORT FileIdentity identityOf(const std::filesystem::path& file);

}  // namespace kelp::util
