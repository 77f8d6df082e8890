#pragma once

#include <kelp/oplog/log_entry.h>

namespace kelp::oplog {

class AuditKey;

/// The hash of a record: 64 hexadecimal digits. `previous` is the hash of the record before it;
/// empty for the first one. Covers every field with its length, so that text cannot be moved from
/// one field to the next. With a key it is an HMAC-SHA-256, which nobody can compute without the
/// key; without a key it is a BLAKE2b hash.
std::string hashOf(const AuditKey* key, const std::string& previous, const LogEntry& entry);

/// The event of the record that says how far retention has removed records. `object` is the number
/// and `detail` the hash of the last removed record.
constexpr const char* kRetentionEvent = "retention";

/// The event of the record that marks a chain as made with a key. `object` is the key's id. A log
/// that continued with a key has at least one such record.
constexpr const char* kKeyEvent = "key";

}  // namespace kelp::oplog
