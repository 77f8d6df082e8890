#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "records/log_batch.h"

namespace kelp::oplog {

/// How a log's records lie in its database, for the one thread that writes it. All but committed()
/// is called inside a transaction of the caller's.
class RecordTable {
  public:
    virtual ~RecordTable() = default;

    /// Records that come from elsewhere than the queue.
    virtual void append(std::vector<LogEntry>& entries) = 0;
    virtual void append(const LogBatch& batch) = 0;
    /// See retention.h. Nothing: none had to go; else whether there may be more to remove.
    virtual std::optional<bool> removeOldest(std::uint64_t bytesMax,
                                             std::optional<UtcTime> oldest) = 0;
    /// What was appended and removed is in the database.
    virtual void committed() = 0;
};

}  // namespace kelp::oplog
