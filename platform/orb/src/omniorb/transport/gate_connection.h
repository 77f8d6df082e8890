#pragma once

#include <omniORB4/CORBA.h>
#include <omniORB4/giopEndpoint.h>

#include <memory>
#include <string>

#include "../../gate/gate_peer.h"
#include "../../gate/watcher.h"

namespace kelp::orb {

/// A connection as the ORB sees it. Its operations are those of a GatePeer and of the endpoint's
/// watcher. Owned by the endpoint until it is handed to the ORB, which then counts references.
class GateConnection final : public omni::giopConnection, public gate::Watched {
  public:
    /// `scheme` is the ORB's name for the transport, such as "giop:tcp:".
    GateConnection(std::shared_ptr<gate::Watcher> watcher, std::unique_ptr<gate::GatePeer> peer,
                   const std::string& scheme);
    ~GateConnection() override;

    gate::GatePeer& peer() { return *peer_; }

    int Send(void* buffer, std::size_t size, const omni_time_t& deadline) override;
    int Recv(void* buffer, std::size_t size, const omni_time_t& deadline) override;
    void Shutdown() override { peer_->shutDown(); }
    const char* myaddress() override { return nearAddress_.c_str(); }
    const char* peeraddress() override { return farAddress_.c_str(); }
    void* peerdetails() override { return peer_->channel().peerDetails(); }
    void setSelectable(int now, CORBA::Boolean dataInBuffer) override;
    void clearSelectable() override { watcher_->unwant(*this); }
    CORBA::Boolean isSelectable() override { return true; }
    CORBA::Boolean Peek() override;

    int descriptor() const override { return peer_->channel().descriptor(); }

  private:
    const std::shared_ptr<gate::Watcher> watcher_;
    const std::unique_ptr<gate::GatePeer> peer_;
    const std::string nearAddress_;
    const std::string farAddress_;
};

}  // namespace kelp::orb
