#pragma once

#include <optional>
#include <vector>

#include "records/packed_records.h"

namespace kelp::oplog {

/// The content of one transaction: records, or a single gap record.
struct LogBatch {
    std::vector<PackedRecords> pieces;
    std::optional<LogEntry> gap;

    std::size_t records() const {
        std::size_t count = 0;
        for (const PackedRecords& each : pieces)
            count += each.count();
        return count;
    }
    bool empty() const { return pieces.empty() && !gap; }
};

/// Append the batch's records to `entries`.
void appendEntries(const LogBatch& batch, std::vector<LogEntry>& entries);

}  // namespace kelp::oplog
