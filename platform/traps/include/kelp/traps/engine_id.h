#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace kelp::traps {

/// The id of an SNMP engine: 5 to 32 octets (RFC 3411, SnmpEngineID).
using EngineId = std::string;

/// Read hexadecimal digits, with or without 0x before them. Returns nothing unless they are 5 to 32
/// octets.
KELP_EXPORT std::optional<EngineId> parseEngineId(const std::string& text);
KELP_EXPORT std::string engineIdText(const EngineId& id);

/// Our engine: its id, which never changes, and the number of its starts, which protects from
/// messages that are sent again after a restart (RFC 3414).
struct Engine {
    EngineId id;
    std::uint32_t boots = 1;
};

/// Read the engine from its file, count a start, and write it back before it is used. A missing
/// file is created with a random id. Throws std::runtime_error with the file's name if the file
/// cannot be read or written, cannot be trusted, or is damaged.
KELP_EXPORT Engine startEngine(const std::filesystem::path& file);

}  // namespace kelp::traps
