#pragma once

#include <kelp/changelog/change_log.h>
#include <kelp/util/export.h>

#include <filesystem>
#include <memory>
#include <string>

namespace kelp::changelog {

struct SqliteLogSettings {
    std::filesystem::path file;
    /// Whether append() waits until the storage device has the records (synchronous = FULL). If
    /// not, they survive the end of the process, but a power cut may lose the newest ones.
    bool syncEveryCommit = true;
    /// Name of the SQLite VFS, for tests. Empty: the default one.
    std::string vfs = {};
};

/// Open a log in an SQLite file. A missing one is created with its folder, mode 0600. A file with
/// the suffix "-lock" next to it keeps others from opening the log until it is destroyed or the
/// process ends. Throws LogFailure: isHeld() if somebody has the log open, isDamaged() if the file
/// is not a log.
KELP_EXPORT std::unique_ptr<ChangeLog> openSqliteLog(const SqliteLogSettings& settings);

}  // namespace kelp::changelog
