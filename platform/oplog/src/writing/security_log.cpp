#include <kelp/oplog/security_log.h>

#include <exception>
#include <utility>

#include "chain/audit_key.h"
#include "chain/key_mark.h"
#include "database/log_file.h"
#include "records/entry_rules.h"
#include "writing/log_writer.h"

namespace kelp::oplog {

namespace {

constexpr std::chrono::milliseconds kAppendBusy{2000};

LogEntry toEntry(SecurityRecord record) {
    LogEntry entry;
    entry.time = entry.until = record.time;
    entry.user = std::move(record.user);
    entry.nmsAddress = std::move(record.nmsAddress);
    entry.peer = std::move(record.peer);
    entry.operation = textOf(record.event);
    entry.object = std::move(record.object);
    entry.outcome = std::move(record.outcome);
    entry.detail = std::move(record.detail);
    return entry;
}

}  // namespace

SecurityLog::SecurityLog(const LogSettings& settings)
    : writer_(std::make_unique<LogWriter>(settings, LogKind::Security)) {}

SecurityLog::~SecurityLog() = default;

bool SecurityLog::write(SecurityRecord record) noexcept {
    return writer_->put(viewOf(toEntry(std::move(record))));
}

void SecurityLog::setRetention(const Retention& retention) {
    writer_->setRetention(retention);
}

bool SecurityLog::flush(std::chrono::milliseconds deadline) {
    return writer_->flush(deadline);
}

LogCounts SecurityLog::counts() const {
    return writer_->counts();
}

void SecurityLog::stop() {
    writer_->stop();
}

void appendSecurityRecord(const LogSettings& settings, const SecurityRecord& record) {
    std::vector<LogEntry> entries{toEntry(record)};
    cut(entries.front());
    LogStore(settings.database, LogKind::Security, kAppendBusy, LogStore::Damaged::IsAnError,
             settings.auditKeyFile)
        .append(entries);
}

std::string problemOfAuditKey(const LogSettings& settings) {
    std::shared_ptr<const AuditKey> key;
    try {
        key = AuditKey::read(settings.auditKeyFile);
    } catch (const LogFailure& failure) {
        return failure.what();
    }
    try {
        if (std::error_code error; !std::filesystem::exists(settings.database, error))
            return "";
        const std::unique_ptr<SQLite::Database> opened =
            openForReading(settings.database, LogKind::Security);
        return problemOfKey(settings.database, markedKey(*opened), settings.auditKeyFile,
                            key.get());
    } catch (const std::exception&) {
        return "";  // the log itself reports problems of its database
    }
}

}  // namespace kelp::oplog
