#include "trusted_files.h"

#include <kelp/admin/restore_marks.h>
#include <kelp/inventory/inventory.h>
#include <kelp/oplog/log_settings.h>
#include <kelp/oplog/security_log.h>
#include <kelp/users/user_database.h>
#include <kelp/util/file_trust.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace kelp::host {

namespace {

using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ConfigStore;

/// Collects the problems, each with the place where the operator finds its cause.
class Problems {
  public:
    /// Add a problem. When `key` is not configured, so that the path is a default, the problem
    /// names only the file.
    void add(const std::string& key, const std::filesystem::path& file, const std::string& what) {
        if (what.empty())
            return;
        if (isConfigured(key))
            all_.push_back(ConfigStore::instance().problem(key, file.string() + " " + what));
        else
            all_.push_back({file.string(), 0, "", what});
    }
    void checkAuditKey(const oplog::LogSettings& settings) {
        constexpr const char* kKey = "oplog.audit_key_file";
        const std::string problem = oplog::problemOfAuditKey(settings);
        if (problem.empty())
            return;
        if (isConfigured(kKey))
            all_.push_back(ConfigStore::instance().problem(kKey, problem));
        else
            all_.push_back({settings.auditKeyFile.string(), 0, "", problem});
    }
    /// Check a database and the files that SQLite keeps next to it while it is open.
    void checkDatabase(const std::string& key, const std::filesystem::path& file) {
        for (const char* const part : {"", "-wal", "-shm", "-journal"}) {
            const std::filesystem::path each = file.string() + part;
            const std::string problem = util::problemOfTrust(each);
            add(key, each, problem);
            // one problem is enough, because the other files are in the same folder
            if (!problem.empty())
                return;
        }
    }
    std::vector<ConfigProblem> take() { return std::move(all_); }

  private:
    static bool isConfigured(const std::string& key) {
        return !key.empty() && !ConfigStore::instance().text(key).empty();
    }

    std::vector<ConfigProblem> all_;
};

}  // namespace

std::vector<ConfigProblem> problemsOfTrust() {
    using util::FileUse;
    using util::FinalLink;
    Problems problems;
    const std::filesystem::path state = NS_BUNDLEMGR1::defaultStateDirectory();
    const std::string ofState =
        util::problemOfTrust(state, FileUse::Trusted, FinalLink::IsFollowed);
    problems.add("", state, ofState);
    // the files in it would only repeat this problem
    if (!ofState.empty())
        return problems.take();
    for (const char* const mark : {admin::kRestoreMovesAway, admin::kRestoreMovesIn}) {
        if (std::error_code error; std::filesystem::exists(state / mark, error))
            problems.add("", state / mark,
                         "is left of a restore that was interrupted: repair the state with "
                         "\"kelpctl restore --undo\"");
    }
    problems.checkDatabase("security.database", kelp::users::userDatabaseFile());
    problems.checkDatabase("admin.operators", kelp::users::operatorDatabaseFile());
    problems.checkDatabase("oplog.database", oplog::configuredOperationLog().database);
    const oplog::LogSettings security = oplog::configuredSecurityLog();
    problems.checkDatabase("oplog.database", security.database);
    problems.checkAuditKey(security);
    problems.checkDatabase("inventory.database", inventory::configuredInventory());
    const ConfigStore& config = ConfigStore::instance();
    const std::vector<std::string> sinks = config.texts("trace.sinks");
    if (std::find(sinks.begin(), sinks.end(), "file") != sinks.end())
        problems.add("trace.file", config.text("trace.file"),
                     util::problemOfTrust(config.text("trace.file")));
    return problems.take();
}

}  // namespace kelp::host
