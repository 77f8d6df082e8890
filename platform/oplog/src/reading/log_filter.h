#pragma once

#include <kelp/oplog/log_search.h>

namespace kelp::oplog {

/// Whether a record is wanted.
class LogFilter {
  public:
    explicit LogFilter(const LogQuery& query);
    bool passes(const LogEntry& entry) const;

  private:
    bool isInTime(const LogEntry& entry) const;

    LogQuery query_;  ///< its texts as the log keeps them
};

}  // namespace kelp::oplog
