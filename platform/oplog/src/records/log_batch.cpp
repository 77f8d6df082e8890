#include "records/log_batch.h"

namespace kelp::oplog {

void appendEntries(const LogBatch& batch, std::vector<LogEntry>& entries) {
    for (const PackedRecords& piece : batch.pieces)
        piece.forEach([&entries](const RecordView& record) { entries.push_back(entryOf(record)); });
    if (batch.gap)
        entries.push_back(*batch.gap);
}

}  // namespace kelp::oplog
