#pragma once

#include <kelp/oplog/log_entry.h>

namespace kelp::oplog {

std::string textOf(ObjectKind kind);

/// Shortens texts to little more than what the log keeps: what a waiting record may cost.
void cut(LogEntry& entry);
/// Makes texts fit for the log. Twice is harmless.
void escape(LogEntry& entry);

}  // namespace kelp::oplog
