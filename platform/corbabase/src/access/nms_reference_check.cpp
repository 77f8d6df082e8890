#include "access/nms_reference_check.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/trace_log.h>

#include "orb/orb_life.h"

namespace NS_CORBA {

namespace {

constexpr std::size_t kShownBytesMax = 256;

constexpr const char* kReferenceRefused = "reference not allowed";
constexpr const char* kForwardRefused = "forward not allowed";

std::string configuredRule() {
    return NS_BUNDLEMGR1::ConfigStore::instance().text("access.nms_reference");
}

void tellRefusal(const kelp::orb::Endpoint& endpoint, const kelp::util::PeerAddress& peer,
                 kelp::oplog::SecurityEvent event, const char* outcome) {
    const std::string named = kelp::orb::hostAndPort(endpoint);
    tracePoint("nmsreferencecheck");
    TaTrace(
        "[CorbaBaseAgentConfig::IsValidNmsReference] The NMS at %s names %s as its own address!",
        peer.withPort.c_str(), kelp::util::escaped(named, kShownBytesMax).c_str());
    kelp::oplog::SecurityRecord record;
    record.event = event;
    record.nmsAddress = named;
    record.peer = peer.withPort;
    record.outcome = outcome;
    AuditTrail::Instance().Write(std::move(record));
}

}  // namespace

bool NmsReferenceCheck::allows(CORBA::Object_ptr reference, kelp::oplog::SecurityEvent event,
                               std::string* refused) const {
    const std::string rule = configuredRule();
    const kelp::util::PeerAddress peer = kelp::orb::currentPeer();
    if (rule == "any" || peer.text.empty())
        return true;
    const CORBA::ORB_var orb = OrbLife::instance().orb();
    kelp::orb::ReferenceContent content;
    if (!kelp::orb::describe(orb.in(), reference, content))
        return false;
    for (const kelp::orb::Endpoint& endpoint : content.endpoints) {
        if (!allows(endpoint, peer, rule)) {
            tellRefusal(endpoint, peer, event, kReferenceRefused);
            if (refused != nullptr)
                *refused = kelp::orb::hostAndPort(endpoint);
            return false;
        }
    }
    return true;
}

bool NmsReferenceCheck::mayFollow(const kelp::util::PeerAddress& from,
                                  const kelp::orb::Endpoint& to) const {
    const std::string rule = configuredRule();
    if (rule == "any" || allows(to, from, rule))
        return true;
    tellRefusal(to, from, kelp::oplog::SecurityEvent::RefusedAddress, kForwardRefused);
    return false;
}

bool NmsReferenceCheck::allows(const kelp::orb::Endpoint& endpoint,
                               const kelp::util::PeerAddress& peer, const std::string& rule) const {
    const kelp::util::PeerAddress named = kelp::util::parseHostAddress(endpoint.host);
    if (named.text.empty())
        return access_.allowsHostName(endpoint.host);
    return rule == "peer" ? kelp::util::isSameAddress(named, peer) : access_.allows(named);
}

}  // namespace NS_CORBA
