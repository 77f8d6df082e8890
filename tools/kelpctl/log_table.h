#pragma once

#include <kelp/oplog/log_search.h>

#include <string>

namespace kelp::ctl {

/// A log's records as lines of a table, whose columns take more room where a text needs it.
std::string tableHeader(oplog::LogKind kind);
std::string tableLine(const oplog::LogEntry& entry, oplog::LogKind kind);

}  // namespace kelp::ctl
