#pragma once

#include <kelp/oplog/log_entry.h>

#include <cstddef>

namespace kelp::oplog {

struct TextField {
    std::string LogEntry::*text;
    std::size_t bytesMax;
};

/// The texts of a record. Longer than anything an NMS needs, so short that a full queue stays
/// bounded.
constexpr TextField kTextFields[] = {
    {&LogEntry::user, 256},      {&LogEntry::nmsAddress, 128}, {&LogEntry::peer, 128},
    {&LogEntry::operation, 128}, {&LogEntry::objectKind, 32},  {&LogEntry::object, 512},
    {&LogEntry::outcome, 256},   {&LogEntry::detail, 1024},
};

/// The object's word in the log, such as "manager".
const char* wordOf(ObjectKind kind);

/// Shortens texts to little more than what the log keeps.
void cut(LogEntry& entry);
/// Makes texts fit for the log. Twice is harmless.
void escape(LogEntry& entry);

}  // namespace kelp::oplog
