#pragma once

namespace kelp::orb {

/// Beginning of the gate's endpoint texts. References name the usual transport.
inline constexpr const char* kGateEndpoint = "giop:gate:";

/// The same over TLS.
inline constexpr const char* kTlsGateEndpoint = "giop:tlsgate:";

/// Register the gate's transports with the ORB. Call it before ORB_init. A second call has no
/// effect.
void registerGateTransport();

}  // namespace kelp::orb
