#pragma once

#include <omniORB4/CORBA.h>
#include <omniORB4/giopEndpoint.h>
#include <omniORB4/omniServer.h>

#include <atomic>
#include <deque>
#include <memory>
#include <string>
#include <unordered_set>

#include "../../gate/gate.h"
#include "../../gate/listener.h"
#include "../../gate/watcher.h"
#include "gate_connection.h"

namespace kelp::orb {

/// An endpoint of the ORB that listens on a socket of the gate. A connection reaches the ORB, and
/// gets one of its threads, with its first whole message. Until then it waits in the lobby, where
/// one thread serves all connections.
class GateEndpoint : public omni::giopEndpoint, private gate::Watcher::Handler {
  public:
    /// `address` is "host:port" or "[ipv6]:port".
    explicit GateEndpoint(const std::string& address);
    ~GateEndpoint() override;

    const char* type() const override { return "giop:gate"; }
    const char* address() const override {
        return addresses_.length() != 0 ? addresses_[0].in() : "";
    }
    const omni::orbServer::EndpointList* addresses() const override { return &addresses_; }
    CORBA::Boolean publish(const omni::orbServer::PublishSpecs& forms, CORBA::Boolean allSpecs,
                           CORBA::Boolean allEndpoints,
                           omni::orbServer::EndpointList& published) override;
    CORBA::Boolean Bind() override;
    omni::giopConnection* AcceptAndMonitor(omni::giopConnection::notifyReadable_t function,
                                           void* cookie) override;
    void Poke() override;
    void Shutdown() override;

  protected:
    /// Return the name that references and the ORB's rules use for connections of this endpoint.
    virtual std::string scheme() const { return "giop:tcp:"; }
    /// Make a connection's channel, which owns the descriptor. Return null, with the descriptor
    /// closed, when the connection cannot be served.
    virtual std::unique_ptr<gate::OctetChannel> makeChannel(int descriptor,
                                                            const util::PeerAddress& peer);
    const std::shared_ptr<gate::Gate>& gate() const { return gate_; }

  private:
    bool accept() override;
    After arrived(gate::Watched& watched) override;
    void discard(gate::Watched& watched) override;
    void sweep(gate::Watched& watched, gate::Watcher::Clock::time_point now) override;
    void tidy(gate::Watcher::Clock::time_point now) override;

    void take(int descriptor, const sockaddr_storage& peer);
    void enterLobby(int descriptor, const util::PeerAddress& peer);
    CORBA::Boolean publishOne(const char* form, const char* address,
                              omni::orbServer::EndpointList& published);
    omni::giopConnection* handOver();

    const std::string where_;
    const std::shared_ptr<gate::Gate> gate_;
    std::shared_ptr<gate::Watcher> watcher_;
    gate::Listener listener_;
    omni::orbServer::EndpointList addresses_;
    std::atomic<bool> poked_{false};

    // used only by the thread in AcceptAndMonitor(), and after it by whoever shuts the endpoint
    // down
    omni::giopConnection::notifyReadable_t notify_ = nullptr;
    void* cookie_ = nullptr;
    std::unordered_set<GateConnection*> lobby_;  ///< owned
    std::deque<GateConnection*> arrived_;        ///< owned; to be handed to the ORB
};

}  // namespace kelp::orb
