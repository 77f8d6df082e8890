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

/// The name of the kind in the log, such as "manager".
const char* wordOf(ObjectKind kind);

/// Truncate each text to one byte more than the log keeps.
void cut(LogEntry& entry);
/// Escape and truncate the texts for the log. Repeating it changes nothing.
void escape(LogEntry& entry);

}  // namespace kelp::oplog
