#pragma once

#include <kelp/oplog/log_entry.h>

namespace kelp::oplog {

class AuditKey;

/// The hash of a record: 64 hexadecimal digits. `previous` is the hash of the record before it;
/// empty for the first one. Covers every field with its length, so that text cannot be moved from
/// one field to the next. With a key it is an HMAC-SHA-256, which nobody can compute without the
/// key; without a key it is a BLAKE2b hash.
std::string hashOf(const AuditKey* key, const std::string& previous, const LogEntry& entry);

}  // namespace kelp::oplog
