#include "tls_gate_endpoint.h"

#include <unistd.h>

#include <utility>

#include "../../gate/gate.h"
#include "../../gate/tls_channel.h"

namespace kelp::orb {

TlsGateEndpoint::TlsGateEndpoint(const std::string& address, std::shared_ptr<SSL_CTX> context)
    : GateEndpoint(address), context_(std::move(context)) {}

std::unique_ptr<gate::OctetChannel> TlsGateEndpoint::makeChannel(int descriptor,
                                                                 const util::PeerAddress& peer) {
    if (context_)
        return std::make_unique<gate::TlsChannel>(descriptor, context_, gate(), peer);
    ::close(descriptor);
    return nullptr;
}

}  // namespace kelp::orb
