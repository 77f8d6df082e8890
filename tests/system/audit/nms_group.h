#pragma once

#include <mtnm/emsMgr.h>

#include <deque>
#include <string>

#include "component/orb/tcp_relay.h"
#include "support/orb_fixture.h"
#include "support/wire_reference.h"
#include "system/harness/host.h"
#include "system/nms_peer/peer_nms.h"

namespace kelp::test {

/// NMS of one host's EMS, in the test's own process, each reached at a port of its own.
class NmsGroup {
  public:
    NmsGroup(const Host& host, std::size_t count);

    PeerNms& operator[](std::size_t number) { return all_.at(number); }
    CORBA::ORB_ptr orb() const { return orb_.orb(); }
    emsSessionFactory::EmsSessionFactory_I_ptr factory() const { return factory_.in(); }
    /// "address:port" as the EMS reads it out of the NMS's reference.
    std::string addressOf(std::size_t number);

    void logIn(std::size_t number, const std::string& user);
    /// The manager "EMS" of an NMS's session.
    emsMgr::EMSMgr_I_var manager(std::size_t number);

    /// The session factory, and the object of any reference, as whoever calls through the relay
    /// reaches them.
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
