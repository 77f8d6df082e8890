#pragma once

#include <kelp/util/export.h>
#include <sys/types.h>

#include <filesystem>

namespace kelp::util {

/// Which file a path names at a moment, whatever is in it. All zero: none. While a process has a
/// file open, no other file gets its identity.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

KELP_EXPORT FileIdentity identityOf(const std::filesystem::path& file);

}  // namespace kelp::util
