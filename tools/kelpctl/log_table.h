#pragma once

#include <kelp/oplog/log_search.h>

#include <string>

namespace kelp::ctl {

/// Format a log's records as lines of a table. A column becomes wider where a text needs more room.
std::string tableHeader(oplog::LogKind kind);
std::string tableLine(const oplog::LogEntry& entry, oplog::LogKind kind);

}  // namespace kelp::ctl
