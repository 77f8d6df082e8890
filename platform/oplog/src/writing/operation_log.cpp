#include <kelp/oplog/operation_log.h>

#include "records/entry_rules.h"
#include "writing/log_writer.h"

namespace kelp::oplog {

namespace {

RecordView viewOf(const OperationRecord& record) {
    RecordView view;
    view.time = record.time;
    view.duration = record.duration;
    view.texts = {
        record.user,   record.nmsAddress, record.peer,  record.operation, wordOf(record.objectKind),
        record.object, record.outcome,    record.detail};
    return view;
}

}  // namespace

OperationLog::OperationLog(const LogSettings& settings)
    : writer_(std::make_unique<LogWriter>(settings, LogKind::Operations)) {}

OperationLog::~OperationLog() = default;

bool OperationLog::write(const OperationRecord& record) noexcept {
    return writer_->put(viewOf(record));
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
