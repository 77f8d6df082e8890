#pragma once

#include <kelp/oplog/log_entry.h>

namespace kelp::oplog {

/// Hash of a record that follows the one with the hash `previous` (empty: it is the first): 64 hexadecimal
/// digits. Every field counts, with its length, so that text cannot move from one to the next.
std::string hashOf(const std::string& previous, const LogEntry& entry);

/// Event word of the record that tells how far retention has gone: `object` is the number and `detail` the
/// hash of the last record that went.
constexpr const char* kRetentionEvent = "retention";

}  // namespace kelp::oplog
