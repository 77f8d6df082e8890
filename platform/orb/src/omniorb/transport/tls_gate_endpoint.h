#pragma once

#include <memory>
#include <string>

#include "../../tls/owned.h"
#include "gate_endpoint.h"

namespace kelp::orb {

/// A gate endpoint with TLS. Its references name the ORB's TLS transport.
class TlsGateEndpoint final : public GateEndpoint {
  public:
    /// `context` is the process's. Null when there are no certificates: every connection is then
    /// closed.
    TlsGateEndpoint(const std::string& address, std::shared_ptr<SSL_CTX> context);

    const char* type() const override { return "giop:tlsgate"; }

  private:
    std::string scheme() const override { return "giop:ssl:"; }
    std::unique_ptr<gate::OctetChannel> makeChannel(int descriptor,
                                                    const util::PeerAddress& peer) override;

    const std::shared_ptr<SSL_CTX> context_;
};

}  // namespace kelp::orb
