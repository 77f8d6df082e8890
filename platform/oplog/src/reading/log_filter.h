#pragma once

#include <kelp/oplog/log_search.h>

namespace kelp::oplog {

/// Decides whether a record matches a query.
class LogFilter {
  public:
    explicit LogFilter(const LogQuery& query);
    bool passes(const LogEntry& entry) const;

  private:
    bool isInTime(const LogEntry& entry) const;

    LogQuery query_;  ///< its texts are escaped as in the log
};

}  // namespace kelp::oplog
