#pragma once

#include <kelp/orb/orb.h>
#include <openssl/ssl.h>

#include <memory>
#include <string_view>

namespace kelp::orb {

/// Give the TLS transport its certificates, or none when the caller asked for no TLS. Call it
/// before ORB_init, while no ORB runs. Throws CORBA::BAD_PARAM, with the reason in the trace, when
/// the certificates are missing or cannot be used.
void setUpTls(const OrbOptions& options);

/// Make handshakes show and trust what renewTls() has taken over last. Call it after ORB_init and
/// before an endpoint is opened. Does nothing without TLS.
void takeOverHandshakes();

/// Return the context with which the gate serves TLS; null without TLS. Valid from setUpTls() on.
std::shared_ptr<SSL_CTX> tlsGateContext();

/// Return the subject of the peer's certificate. `peerDetails` are the peerdetails() of a
/// connection, and may be null. Empty when there is no subject. Valid as long as the connection.
std::string_view peerSubject(const void* peerDetails);

/// Return whether the line is the TLS transport's notice that it was given no certificates. The
/// transport writes it at each start without TLS. It is no error.
bool isTlsUnusedNotice(const std::string& orbLogLine);

}  // namespace kelp::orb
