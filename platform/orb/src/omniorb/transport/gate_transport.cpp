#include "gate_transport.h"

#include "../tls.h"
#include "gate_endpoint.h"
#include "tls_gate_endpoint.h"

namespace kelp::orb {

namespace {

using MakeEndpoint = omni::giopEndpoint* (*)(const char* address);

omni::giopEndpoint* plain(const char* address) {
    return new GateEndpoint(address);
}

omni::giopEndpoint* overTls(const char* address) {
    return new TlsGateEndpoint(address, tlsGateContext());
}

/// A transport with endpoints only. Outgoing connections use the ORB's own transports, because
/// references name those.
class GateTransport final : public omni::giopTransportImpl {
  public:
    GateTransport(const char* itsType, MakeEndpoint make)
        : giopTransportImpl(itsType), make_(make) {}

    omni::giopEndpoint* toEndpoint(const char* param) override { return make_(param); }
    omni::giopAddress* toAddress(const char*) override { return nullptr; }
    CORBA::Boolean isValid(const char* param) override {
        return param != nullptr && *param != '\0';
    }
    CORBA::Boolean addToIOR(const char*, omni::IORPublish*) override { return false; }
    const omnivector<const char*>* getInterfaceAddress() override { return nullptr; }

  private:
    const MakeEndpoint make_;
};

}  // namespace

void registerGateTransport() {
    // never deleted: the ORB's list of transports outlives every ORB
    static GateTransport* const transports[] = {new GateTransport("giop:gate", plain),
                                                new GateTransport("giop:tlsgate", overTls)};
    (void)transports;
}

}  // namespace kelp::orb
