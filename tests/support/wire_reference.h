#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/references.h>

#include <cctype>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace kelp::test {

/// Escape an object key for a corbaloc URL.
inline std::string escapedKey(const std::string& key) {
    static const char digits[] = "0123456789abcdef";
    std::string escaped;
    for (const char c : key) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte)) {
            escaped += c;
        } else {
            escaped += '%';
            escaped += digits[byte >> 4];
            escaped += digits[byte & 15];
        }
    }
    return escaped;
}

/// Return a reference to the same object at an address that the ORB does not recognise as its own:
/// another spelling of the loopback address. A call from this process then goes over a connection.
/// The reference has no type: use _unchecked_narrow.
inline CORBA::Object_ptr referenceOverTheWire(CORBA::ORB_ptr orb, CORBA::Object_ptr reference,
                                              const std::string& host, std::uint16_t port) {
    orb::ReferenceContent content;
    if (!orb::describe(orb, reference, content))
        throw std::runtime_error("not a reference of this ORB");
    return orb::toReference(orb, "corbaloc:iiop:1.2@" + host + ":" + std::to_string(port) + "/" +
                                     escapedKey(content.objectKey));
}

}  // namespace kelp::test
