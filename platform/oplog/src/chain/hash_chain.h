#pragma once

#include <kelp/oplog/log_entry.h>

namespace kelp::oplog {

class AuditKey;

/// Hash of a record that follows the one with the hash `previous` (empty: it is the first): 64
/// hexadecimal digits. Every field counts, with its length, so that text cannot move from one to
/// the next. With a key it is an HMAC-SHA-256, which nobody without the key can make; without one
/// it is a BLAKE2b hash.
std::string hashOf(const AuditKey* key, const std::string& previous, const LogEntry& entry);

/// Event word of the record that tells how far retention has gone: `object` is the number and
/// `detail` the hash of the last record that went.
constexpr const char* kRetentionEvent = "retention";

/// Event word of the record that marks a chain as made with a key; `object` is the key's id. A log
/// that has gone on with a key has at least one.
constexpr const char* kKeyEvent = "key";

}  // namespace kelp::oplog
