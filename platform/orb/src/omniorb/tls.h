#pragma once

#include <kelp/orb/orb.h>

namespace kelp::orb {

/// Hands the TLS transport its certificates, or none when the caller asked for no TLS. Before ORB_init, while
/// no ORB runs. Throws CORBA::BAD_PARAM, with the reason in the trace, when there are no certificates or they
/// cannot be used.
void setUpTls(const OrbOptions& options);

/// Makes handshakes show and trust what renewTls() has taken over last. After ORB_init, before an endpoint is
/// opened; nothing without TLS.
void takeOverHandshakes();

/// The transport's own notice, at each start, that it was given no certificates: usual, and no fault.
bool isTlsUnusedNotice(const std::string& orbLogLine);

}  // namespace kelp::orb
