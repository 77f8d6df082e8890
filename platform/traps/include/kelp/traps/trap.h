#pragma once

#include <kelp/traps/oid.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kelp::traps {

/// A variable binding: a name and a value. Numbers are decimal, time ticks are in hundredths of a
/// second, addresses and OIDs have dots. See octetText() for octet strings.
struct VarBind {
    Oid oid;
    std::string value;
};

/// A trap or an inform (SNMPv2-Trap-PDU, InformRequest-PDU).
struct Trap {
    std::string address;            ///< the sender's address without port
    std::string user;               ///< SNMPv3; empty for v2c. A community is never kept.
    Oid oid;                        ///< value of snmpTrapOID.0
    std::uint32_t upTime = 0;       ///< value of sysUpTime.0, in hundredths of a second
    std::vector<VarBind> varBinds;  ///< those after sysUpTime.0 and snmpTrapOID.0
    bool isInform = false;
    std::int64_t requestId = 0;
};

/// Maximum number of variable bindings. A trap with more is refused: no MIB that we know defines
/// one with more than 60.
inline constexpr std::size_t kVarBindsMax = 256;

/// An octet string as text: itself if it is printable UTF-8, otherwise hexadecimal ("00:1b:2c").
/// NULs at its end, which some agents send, are left out.
KELP_EXPORT std::string octetText(std::string_view octets);

/// The trap's OID and variable bindings on one line, for an operator. Control characters are
/// escaped, and the text has at most `bytesMax` bytes.
KELP_EXPORT std::string contentOfTrap(const Trap& trap, std::size_t bytesMax);

}  // namespace kelp::traps
