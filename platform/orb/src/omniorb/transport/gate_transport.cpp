#include "gate_transport.h"

#include "gate_endpoint.h"

namespace kelp::orb {

namespace {

/// Endpoints only: outgoing connections are the ORB's own, since references name the usual transports.
class GateTransport final : public omni::giopTransportImpl {
  public:
    GateTransport() : giopTransportImpl("giop:gate") {}

    omni::giopEndpoint* toEndpoint(const char* param) override { return new GateEndpoint(param); }
    omni::giopAddress* toAddress(const char*) override { return nullptr; }
    CORBA::Boolean isValid(const char* param) override { return param != nullptr && *param != '\0'; }
    CORBA::Boolean addToIOR(const char*, omni::IORPublish*) override { return false; }
    const omnivector<const char*>* getInterfaceAddress() override { return nullptr; }
};

}  // namespace

void registerGateTransport() {
    // never deleted: the ORB's list of transports outlives every ORB
    static GateTransport* const transport = new GateTransport;
    (void)transport;
}

}  // namespace kelp::orb
