#include <kelp/oplog/operation_log.h>

#include <utility>

#include "entry_rules.h"
#include "log_writer.h"

namespace kelp::oplog {

namespace {

LogEntry entryOf(OperationRecord&& record) {
    LogEntry entry;
    entry.time = entry.until = record.time;
    entry.user = std::move(record.user);
    entry.nmsAddress = std::move(record.nmsAddress);
    entry.peer = std::move(record.peer);
    entry.operation = std::move(record.operation);
    entry.objectKind = textOf(record.objectKind);
    entry.object = std::move(record.object);
    entry.outcome = std::move(record.outcome);
    entry.duration = record.duration;
    return entry;
}

}  // namespace

OperationLog::OperationLog(const LogSettings& settings)
    : writer_(std::make_unique<LogWriter>(settings, LogKind::Operations)) {}

OperationLog::~OperationLog() = default;

bool OperationLog::write(OperationRecord record) noexcept {
    return writer_->put(entryOf(std::move(record)));
}

void OperationLog::setRetention(const Retention& retention) {
    writer_->setRetention(retention);
}

bool OperationLog::flush(std::chrono::milliseconds deadline) {
    return writer_->flush(deadline);
}

LogCounts OperationLog::counts() const {
    return writer_->counts();
}

void OperationLog::stop() {
    writer_->stop();
}

}  // namespace kelp::oplog
