#include <kelp/bundlemgr/config_store.h>
#include <kelp/oplog/log_settings.h>

namespace kelp::oplog {

LogSettings configuredOperationLog() {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    LogSettings settings;
    const std::string configured = config.text("oplog.database");
    settings.database = configured.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / "oplog.db"
                                           : std::filesystem::path(configured);
    settings.retention.age = std::chrono::days(config.integer("oplog.keep_days"));
    settings.retention.bytes = static_cast<std::uint64_t>(config.integer("oplog.keep_mib")) << 20;
    settings.queueMax = static_cast<std::size_t>(config.integer("oplog.queue_max"));
    settings.stallMax = std::chrono::milliseconds(config.integer("oplog.stall_max_ms"));
    return settings;
}

LogSettings configuredSecurityLog() {
    LogSettings settings = configuredOperationLog();
    const std::filesystem::path& beside = settings.database;
    settings.database =
        beside.parent_path() / (beside.stem().string() + "-audit" + beside.extension().string());
    const std::string keyFile = NS_BUNDLEMGR1::ConfigStore::instance().text("oplog.audit_key_file");
    settings.auditKeyFile = keyFile.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / "audit.key"
                                            : std::filesystem::path(keyFile);
    return settings;
}

}  // namespace kelp::oplog
