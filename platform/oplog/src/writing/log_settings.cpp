#include <kelp/bundlemgr/config_store.h>
#include <kelp/oplog/log_settings.h>

#include <algorithm>

namespace kelp::oplog {

namespace {

/// Room for about one second of a flood of requests without a log-in: their rate limit lets no more
/// through.
constexpr std::size_t kQueueBeforeLogIn = 20000;

const NS_BUNDLEMGR1::ConfigStore& config() {
    return NS_BUNDLEMGR1::ConfigStore::instance();
}

std::uint64_t bytesOf(const char* mibKey) {
    return static_cast<std::uint64_t>(config().integer(mibKey)) << 20;
}

/// "oplog.db" with the suffix "audit" becomes "oplog-audit.db".
std::filesystem::path beside(const std::filesystem::path& database, const std::string& suffix) {
    return database.parent_path() /
           (database.stem().string() + "-" + suffix + database.extension().string());
}

}  // namespace

LogSettings configuredOperationLog() {
    LogSettings settings;
    const std::string configured = config().text("oplog.database");
    settings.database = configured.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / "oplog.db"
                                           : std::filesystem::path(configured);
    settings.retention.age = std::chrono::days(config().integer("oplog.keep_days"));
    settings.retention.bytes = bytesOf("oplog.keep_mib");
    settings.queueMax = static_cast<std::size_t>(config().integer("oplog.queue_max"));
    settings.stallMax = std::chrono::milliseconds(config().integer("oplog.stall_max_ms"));
    return settings;
}

LogSettings configuredSecurityLog() {
    LogSettings settings = configuredOperationLog();
    settings.database = beside(settings.database, "audit");
    const std::string keyFile = config().text("oplog.audit_key_file");
    settings.auditKeyFile = keyFile.empty() ? settings.database.parent_path() / "audit.key"
                                            : std::filesystem::path(keyFile);
    return settings;
}

LogSettings configuredLogBeforeLogIn() {
    LogSettings settings = configuredOperationLog();
    settings.database = partBeforeLogIn(settings.database);
    settings.retention.bytes = bytesOf("oplog.keep_before_login_mib");
    settings.queueMax = std::min(settings.queueMax, kQueueBeforeLogIn);
    settings.stallMax = std::chrono::milliseconds(0);
    return settings;
}

unsigned configuredRecordsBeforeLogIn() {
    return static_cast<unsigned>(config().integer("oplog.records_per_minute_before_login"));
}

std::filesystem::path partBeforeLogIn(const std::filesystem::path& operationLog) {
    return beside(operationLog, "before-login");
}

}  // namespace kelp::oplog
