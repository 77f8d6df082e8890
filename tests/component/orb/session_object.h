#pragma once

#include <string>

#include "scripted_session.h"
#include "support/orb_fixture.h"

namespace kelp::test {

/// A scripted session that is active in a POA until the ORB stops, with the references by which a
/// test calls it.
class SessionObject {
  public:
    SessionObject(
        const RunningOrb& orb, PortableServer::POA_ptr poa, std::function<void()> onPing = [] {})
        : servant_(new ScriptedSession(std::move(onPing))) {
        const PortableServer::ObjectId_var id = poa->activate_object(servant_);
        const PortableServer::ServantBase_var owner(servant_);  // from here on the POA owns it
        const CORBA::Object_var object = poa->id_to_reference(id.in());
        inProcess_ = nmsSession::NmsSession_I::_narrow(object.in());
        if (orb.endpoint().host != "127.0.0.1")
            return;
        const CORBA::Object_var remote = orb.overTheWire(object.in());
        remote_ = nmsSession::NmsSession_I::_narrow(remote.in());
    }
    explicit SessionObject(
        const RunningOrb& orb, std::function<void()> onPing = [] {})
        : SessionObject(orb, orb.root(), std::move(onPing)) {}

    ScriptedSession& servant() { return *servant_; }
    /// Calls go over a connection, like those of an NMS. Nil if the ORB does not listen on
    /// 127.0.0.1.
    nmsSession::NmsSession_I_ptr remote() const { return remote_.in(); }
    /// Calls use no connection.
    nmsSession::NmsSession_I_ptr inProcess() const { return inProcess_.in(); }

  private:
    ScriptedSession* servant_;
    nmsSession::NmsSession_I_var inProcess_;
    nmsSession::NmsSession_I_var remote_;
};

}  // namespace kelp::test
