#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kelp::traps {

/// The beginning of an SNMP message, as anybody can write it: nothing in it is authenticated.
struct MessageHead {
    static constexpr int kVersion2c = 1;
    static constexpr int kVersion3 = 3;
    static constexpr int kUsm = 3;

    int version = 0;  ///< as it is encoded: 0 for SNMPv1
    // SNMPv3 only
    int securityModel = 0;
    std::string engineId;  ///< msgAuthoritativeEngineID; empty when the sender does not know it
    std::string userName;
};

/// Read the head of a datagram. Returns nothing if it is not a message.
std::optional<MessageHead> readHead(std::span<const std::uint8_t> datagram);

}  // namespace kelp::traps
