#pragma once

#include <omniORB4/CORBA.h>
#include <omniORB4/giopEndpoint.h>

#include <memory>
#include <optional>

#include "giop/reply_framing.h"
#include "omniorb/calls/call_watch.h"
#include "omniorb/calls/socket_line.h"

namespace kelp::orb {

/// Wraps an outgoing connection of the ORB, over any transport. It ends the connection when the
/// peer sends something that is not a reply, and when a call over it takes longer than the limit of
/// all calls. It sends and receives the octets of a plain TCP connection itself. Owned by the ORB,
/// which counts references. Owns the ORB's connection.
class ReplyConnection final : public omni::giopConnection {
  public:
    explicit ReplyConnection(omni::giopConnection& inner);
    ~ReplyConnection() override;

    int Send(void* buffer, std::size_t size, const omni_time_t& deadline) override;
    int Recv(void* buffer, std::size_t size, const omni_time_t& deadline) override;
    void Shutdown() override { inner_.Shutdown(); }
    const char* myaddress() override { return inner_.myaddress(); }
    const char* peeraddress() override { return inner_.peeraddress(); }
    const char* peeridentity() override { return inner_.peeridentity(); }
    void* peerdetails() override { return inner_.peerdetails(); }
    CORBA::Boolean gatekeeperCheckSpecific(omni::giopStrand* strand) override {
        return inner_.gatekeeperCheckSpecific(strand);
    }
    void setSelectable(int now, CORBA::Boolean dataInBuffer) override {
        inner_.setSelectable(now, dataInBuffer);
    }
    void clearSelectable() override { inner_.clearSelectable(); }
    CORBA::Boolean isSelectable() override { return inner_.isSelectable(); }
    CORBA::Boolean Peek() override { return inner_.Peek(); }

    /// The octets of a plain TCP connection; null for any other. It may outlive the connection.
    const std::shared_ptr<SocketLine>& line() const { return line_; }

  private:
    omni::giopConnection& inner_;
    const std::shared_ptr<SocketLine> line_;
    giop::ReplyFraming framing_;
    std::optional<CallWatch::Connection> watched_;
};

}  // namespace kelp::orb
