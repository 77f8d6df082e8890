#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::ior {

/// An address at which a reference can be reached.
struct KELP_EXPORT Endpoint {
    std::string host;  ///< as written in the profile; IPv6 without brackets
    std::uint16_t port = 0;
    bool tls = false;
};

/// Return "host:port". An IPv6 host gets brackets.
KELP_EXPORT std::string hostAndPort(const Endpoint& endpoint);

/// The content of a stringified reference ("IOR:..."), found by decoding it. Nothing is resolved or
/// called.
struct KELP_EXPORT ReferenceContent {
    std::string typeId;
    /// Every IIOP profile, alternate address and TLS component, in order.
    std::vector<Endpoint> endpoints;
    std::string objectKey;    ///< of the first IIOP profile
    std::string iiopVersion;  ///< of the first IIOP profile, such as "1.2"
};

/// Decode a stringified reference from any source. Every length is checked. Return false, with
/// empty content, for a text that is not a well-formed IOR (CORBA 13.6.10), has more than 64 KiB of
/// content, or holds a host that is not a printable name. An address with port 0 is not listed as
/// an endpoint, because its object is reached over TLS only. A nil reference is well-formed and has
/// no endpoints.
KELP_EXPORT bool decodeReference(const std::string& iorText, ReferenceContent& content);

}  // namespace kelp::ior
