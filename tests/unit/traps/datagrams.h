#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace kelp::test {

/// Octets of a message in BER.
using Octets = std::vector<std::uint8_t>;

inline Octets ber(std::uint8_t tag, const Octets& content) {
    Octets all = {tag};
    const std::size_t size = content.size();
    if (size < 0x80) {
        all.push_back(static_cast<std::uint8_t>(size));
    } else {
        all.push_back(0x82);
        all.push_back(static_cast<std::uint8_t>(size >> 8));
        all.push_back(static_cast<std::uint8_t>(size));
    }
    all.insert(all.end(), content.begin(), content.end());
    return all;
}

inline Octets joined(std::initializer_list<Octets> parts) {
    Octets all;
    for (const Octets& each : parts)
        all.insert(all.end(), each.begin(), each.end());
    return all;
}

inline Octets octetString(const std::string& text) {
    return ber(0x04, {text.begin(), text.end()});
}

inline Octets integer(std::uint8_t value) {
    return ber(0x02, {value});
}

inline constexpr std::uint8_t kTrapPdu = 0xa7;
inline constexpr std::uint8_t kInformPdu = 0xa6;
inline constexpr std::uint8_t kGetPdu = 0xa0;

/// The name and value of a variable binding that are not checked further.
inline Octets varBind(const Octets& oid, const Octets& value) {
    return ber(0x30, joined({ber(0x06, oid), value}));
}

inline Octets trapOidBinding() {
    return varBind({0x2b, 6, 1, 6, 3, 1, 1, 4, 1, 0}, ber(0x06, {0x2b, 6, 1, 6, 3, 1, 1, 5, 3}));
}

inline Octets upTimeBinding() {
    return varBind({0x2b, 6, 1, 2, 1, 1, 3, 0}, ber(0x43, {0x64}));
}

/// ifIndex.4 = 4
inline Octets portBinding() {
    return varBind({0x2b, 6, 1, 2, 1, 2, 2, 1, 1, 4}, integer(4));
}

inline Octets pdu(std::uint8_t tag, const Octets& varBinds) {
    return ber(tag, joined({integer(77), integer(0), integer(0), ber(0x30, varBinds)}));
}

/// A message of SNMPv2c, or of v1 with the version 0.
inline Octets message(const std::string& community, const Octets& content,
                      std::uint8_t version = 1) {
    return ber(0x30, joined({integer(version), octetString(community), content}));
}

/// A linkDown of port 4.
inline Octets linkDown(const std::string& community, std::uint8_t tag = kTrapPdu) {
    return message(community, pdu(tag, joined({upTimeBinding(), trapOidBinding(), portBinding()})));
}

/// A message of SNMPv3 without authentication. The content is not encrypted.
inline Octets version3(const std::string& engine, const std::string& user, std::uint8_t flags,
                       const Octets& content) {
    const Octets global =
        ber(0x30, joined({integer(9), ber(0x02, {0x05, 0xc0}), ber(0x04, {flags}), integer(3)}));
    const Octets security =
        ber(0x30, joined({octetString(engine), integer(0), integer(0), octetString(user),
                          octetString(""), octetString("")}));
    const Octets scoped = ber(0x30, joined({octetString(engine), octetString(""), content}));
    return ber(0x30, joined({integer(3), global, ber(0x04, security), scoped}));
}

}  // namespace kelp::test
