#include "access/gate_policy.h"

#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/security_mgr.h>

#include <string>
#include <utility>

#include "access/connection_log_ins.h"

namespace NS_CORBA {

bool GatePolicy::admits(const kelp::util::PeerAddress& peer) {
    // the end of an earlier connection from this port may not have been noticed yet
    ConnectionLogIns::Instance().Forget(peer);
    return access_.allows(peer);
}

bool GatePolicy::isLoggedIn(const kelp::util::PeerAddress& peer) {
    return CorbaSecurityMgr::Instance()->IsLoggedInFrom(peer);
}

void GatePolicy::refused(const kelp::util::PeerAddress& peer, std::string_view reason) {
    kelp::oplog::SecurityRecord record;
    record.event = access_.allows(peer) ? kelp::oplog::SecurityEvent::RefusedConnection
                                        : kelp::oplog::SecurityEvent::RefusedAddress;
    record.peer = peer.withPort;
    record.outcome = std::string(reason);
    AuditTrail::Instance().Write(std::move(record));
}

void GatePolicy::ended(const kelp::util::PeerAddress& peer) {
    ConnectionLogIns::Instance().Forget(peer);
}

}  // namespace NS_CORBA
