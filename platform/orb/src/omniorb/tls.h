#pragma once

#include <kelp/orb/orb.h>
#include <openssl/ssl.h>

#include <memory>
#include <string_view>

namespace kelp::orb {

/// Hands the TLS transport its certificates, or none when the caller asked for no TLS. Before
/// ORB_init, while no ORB runs. Throws CORBA::BAD_PARAM, with the reason in the trace, when there
/// are no certificates or they cannot be used.
void setUpTls(const OrbOptions& options);

/// Makes handshakes show and trust what renewTls() has taken over last. After ORB_init, before an
/// endpoint is opened; nothing without TLS.
void takeOverHandshakes();

/// What the gate serves TLS with; null without TLS. From setUpTls() on.
std::shared_ptr<SSL_CTX> tlsGateContext();

/// The subject of the certificate that a connection's peerdetails() are, which may be null; empty
/// when there is none. Valid as long as the connection.
std::string_view peerSubject(const void* peerDetails);

/// The transport's own notice, at each start, that it was given no certificates: usual, and no
/// fault.
bool isTlsUnusedNotice(const std::string& orbLogLine);

}  // namespace kelp::orb
