#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::orb {

/// One address that a reference can be reached at.
struct KELP_EXPORT Endpoint {
    std::string host;  ///< as it stands in the profile; IPv6 without brackets
    std::uint16_t port = 0;
    bool tls = false;
};

/// Joins host and port as "host:port"; an IPv6 host is put in brackets.
KELP_EXPORT std::string hostAndPort(const Endpoint& endpoint);

/// What a stringified reference ("IOR:...") says about itself, found by decoding it. Nothing is
/// resolved or called.
struct KELP_EXPORT ReferenceContent {
    std::string typeId;
    std::vector<Endpoint>
        endpoints;          ///< every IIOP profile, alternate address and TLS component, in order
    std::string objectKey;  ///< of the first IIOP profile
};

/// Decodes a stringified reference of any origin; every length is checked. False, and empty
/// content, for text that is no well-formed IOR (CORBA 13.6.10), is longer than 64 KiB of content,
/// or holds a host that is no printable name. A port of 0 is no endpoint: such a reference is
/// reached over TLS alone. A nil reference is well-formed and has no endpoints.
KELP_EXPORT bool decodeReference(const std::string& iorText, ReferenceContent& content);

/// The reference's own text, decoded. False for nil.
KELP_EXPORT bool describe(CORBA::ORB_ptr orb, CORBA::Object_ptr reference,
                          ReferenceContent& content);

/// string_to_object whose result is never nil: throws CORBA::BAD_PARAM where the ORB would return
/// nil, and what string_to_object throws. A corbaname text calls the naming service: give the
/// thread a time-out first.
KELP_EXPORT CORBA::Object_ptr toReference(CORBA::ORB_ptr orb, const std::string& text);

}  // namespace kelp::orb
