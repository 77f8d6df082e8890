#pragma once

#include <kelp/oplog/log_entry.h>

#include <cstddef>

namespace kelp::oplog {

struct TextField {
    std::string LogEntry::*text;
    std::size_t bytesMax;
};

/// The texts of a record and their maximum lengths. Longer than anything an NMS needs, but short
/// enough to bound the memory of a full queue.
constexpr TextField kTextFields[] = {
    {&LogEntry::user, 256},      {&LogEntry::nmsAddress, 128}, {&LogEntry::peer, 128},
    {&LogEntry::operation, 128}, {&LogEntry::objectKind, 32},  {&LogEntry::object, 512},
    {&LogEntry::outcome, 256},   {&LogEntry::detail, 1024},
};

/// The event of the record that says how far retention has removed records. `object` is the number
/// and `detail` the hash of the last removed record.
constexpr const char* kRetentionEvent = "retention";

/// The event of the record that marks a chain as made with a key. `object` is the key's id. A log
/// that continued with a key has at least one such record.
constexpr const char* kKeyEvent = "key";

/// The name of the kind in the log, such as "manager".
const char* wordOf(ObjectKind kind);

/// Truncate each text to one byte more than the log keeps.
void cut(LogEntry& entry);
/// Escape and truncate the texts for the log. Repeating it changes nothing.
void escape(LogEntry& entry);

}  // namespace kelp::oplog
