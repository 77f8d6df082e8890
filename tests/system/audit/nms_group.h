#pragma once

#include <mtnm/emsMgr.h>

#include <deque>
#include <string>

#include "support/orb_fixture.h"
#include "support/tcp_relay.h"
#include "support/wire_reference.h"
#include "system/harness/host.h"
#include "system/nms_peer/peer_nms.h"

namespace kelp::test {

/// NMS of one host's EMS in the test's process, each reached at a separate port.
class NmsGroup {
  public:
    NmsGroup(const Host& host, std::size_t count);

    PeerNms& operator[](std::size_t number) { return all_.at(number); }
    CORBA::ORB_ptr orb() const { return orb_.orb(); }
    emsSessionFactory::EmsSessionFactory_I_ptr factory() const { return factory_.in(); }
    /// Return "address:port" as the EMS reads it from the NMS's reference.
    std::string addressOf(std::size_t number);

    void logIn(std::size_t number, const std::string& user);
    /// Return the manager "EMS" of an NMS's session.
    emsMgr::EMSMgr_I_var manager(std::size_t number);

    /// Return the session factory, or the object of any reference, for calls that go through the
    /// relay.
    emsSessionFactory::EmsSessionFactory_I_var factoryOver(const TcpRelay& relay) const;
    template <class Interface>
    typename Interface::_var_type over(const TcpRelay& relay, CORBA::Object_ptr reference) const {
        const CORBA::Object_var object =
            referenceOverTheWire(orb(), reference, "127.0.0.1", relay.port());
        return typename Interface::_var_type(Interface::_unchecked_narrow(object.in()));
    }

  private:
    RunningOrb orb_;
    emsSessionFactory::EmsSessionFactory_I_var factory_;
    std::deque<PeerNms> all_;
};

}  // namespace kelp::test
