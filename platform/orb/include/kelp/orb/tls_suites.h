#pragma once

#include <kelp/orb/export.h>

#include <string>

namespace kelp::orb {

/// Cipher suites of TLS 1.2 with forward secrecy and authenticated encryption, strongest first, in
/// the form of openssl-ciphers(1).
inline constexpr const char* kTlsCiphers =
    "ECDHE+AESGCM:ECDHE+CHACHA20:DHE+AESGCM:DHE+CHACHA20:!aDSS";
/// The same for TLS 1.3, as names joined by colons.
inline constexpr const char* kTlsCipherSuites =
    "TLS_AES_256_GCM_SHA384:TLS_CHACHA20_POLY1305_SHA256:TLS_AES_128_GCM_SHA256";

/// Return why a list of TLS 1.2 suites cannot be used, as a clause; empty when it can. Each part of
/// the list must name a suite that the library knows. Every suite that the list selects must have
/// forward secrecy (ECDHE or DHE), authenticated encryption, and an RSA or ECDSA certificate. The
/// list must not lower the library's security level below 2.
KELP_EXPORT std::string problemOfTlsCiphers(const std::string& ciphers);

/// The same for TLS 1.3. All its suites have these properties, so each name only has to be one that
/// the library knows.
KELP_EXPORT std::string problemOfTlsCipherSuites(const std::string& suites);

}  // namespace kelp::orb
