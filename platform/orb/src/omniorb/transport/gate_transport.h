#pragma once

namespace kelp::orb {

/// The endpoint texts of the gate begin with this. References name the usual transport.
inline constexpr const char* kGateEndpoint = "giop:gate:";

/// The same over TLS.
inline constexpr const char* kTlsGateEndpoint = "giop:tlsgate:";

/// Makes the ORB know the gate's endpoints. Before ORB_init; again is nothing.
void registerGateTransport();

}  // namespace kelp::orb
