#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "records/log_batch.h"

namespace kelp::oplog {

/// How a log's records are stored in its database. Used by the thread that writes the log. The
/// caller calls everything except committed() inside a transaction.
class RecordTable {
  public:
    virtual ~RecordTable() = default;

    /// Append records that do not come from the queue.
    virtual void append(std::vector<LogEntry>& entries) = 0;
    virtual void append(const LogBatch& batch) = 0;
    /// See retention.h. Returns nothing if no record had to be removed, otherwise whether there may
    /// be more to remove.
    virtual std::optional<bool> removeOldest(std::uint64_t bytesMax,
                                             std::optional<UtcTime> oldest) = 0;
    /// Called after the caller has committed the transaction.
    virtual void committed() = 0;
};

}  // namespace kelp::oplog
