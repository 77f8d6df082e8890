#pragma once

#include <omniORB4/CORBA.h>
#include <omniORB4/giopEndpoint.h>

#include "../giop/reply_framing.h"

namespace kelp::orb {

/// An outgoing connection of the ORB's, over any transport, that ends when the peer sends what no reply is.
/// Owned by the ORB, which counts references; owns the ORB's connection.
class ReplyConnection final : public omni::giopConnection {
  public:
    explicit ReplyConnection(omni::giopConnection& inner) : inner_(inner) {}
    ~ReplyConnection() override { inner_.decrRefCount(true); }

    int Send(void* buffer, std::size_t size, const omni_time_t& deadline) override {
        return inner_.Send(buffer, size, deadline);
    }
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

  private:
    omni::giopConnection& inner_;
    giop::ReplyFraming framing_;
};

}  // namespace kelp::orb
