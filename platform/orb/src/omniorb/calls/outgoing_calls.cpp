#include "omniorb/calls/outgoing_calls.h"

#include <kelp/orb/forwards.h>
#include <omniORB4/callDescriptor.h>
#include <omniORB4/omniInterceptors.h>

// a reply's stream is declared only in the ORB's internal headers, whose order matters
// clang-format off
#include <omniORB4/IOP_C.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_C.h>
#include <omniORB4/internal/objectAdapter.h>
// clang-format on

#include <algorithm>
#include <atomic>

#include "omniorb/calls/reply_connection.h"
#include "omniorb/requests/interceptor_list.h"
#include "port_state.h"
#include "trace.h"

namespace kelp::orb {

namespace {

using Interceptors = omni::omniInterceptors;

/// How often one call may be sent and forwarded. The ORB sends a call again when its connection was
/// closed in an orderly way, and to the address to which it is forwarded. Each idle connection that
/// the peer has closed costs one sending, so a restarted peer costs a few.
constexpr unsigned sendingsMax = 6;
constexpr unsigned forwardsMax = 3;
/// Maximum size in octets of a reply that forwards a call, which must be in one piece. A reference
/// has a few hundred.
constexpr CORBA::ULong forwardOctetsMax = 64 * 1024;

std::atomic<const ForwardCheck*> theCheck{nullptr};

/// The call that a thread is making. The ORB does not report the beginning of a call, so calls are
/// distinguished by their deadline. Without a deadline each sending counts as a new call.
struct CallInProgress {
    const omniCallDescriptor* call = nullptr;
    unsigned long seconds = 0;
    unsigned long nanoseconds = 0;
    unsigned sendings = 0;
    unsigned forwards = 0;
};

thread_local CallInProgress inProgress;

CallInProgress& callOf(const omniCallDescriptor* call) {
    const omni_time_t& deadline = call->getDeadline();
    const auto seconds = static_cast<unsigned long>(deadline.s);
    const auto nanoseconds = static_cast<unsigned long>(deadline.ns);
    if (inProgress.call != call || inProgress.seconds != seconds ||
        inProgress.nanoseconds != nanoseconds || (seconds == 0 && nanoseconds == 0))
        inProgress = {call, seconds, nanoseconds, 0, 0};
    return inProgress;
}

[[noreturn]] void giveUp(const char* peer, const char* operation, const std::string& why) {
    traceException(std::string("the call of ") + operation + " to " +
                   (peer != nullptr ? peer : "nobody") + " is given up: " + why);
    throw CORBA::TRANSIENT(0, CORBA::COMPLETED_MAYBE);
}

/// The ORB owns the connection in its strand.
CORBA::Boolean onConnection(Interceptors::clientOpenConnection_T::info_T& info) {
    omni::giopConnection*& connection = info.giop_c.strand().connection;
    connection = new ReplyConnection(*connection);
    return true;
}

CORBA::Boolean onRequest(Interceptors::clientSendRequest_T::info_T& info) {
    if (++callOf(info.giop_c.calldescriptor()).sendings > sendingsMax)
        giveUp(info.peeraddress(), info.operation(), "it was sent too often");
    return true;
}

bool isOwn(const Endpoint& endpoint) {
    const std::string address = hostAndPort(endpoint);
    return omni::omniObjAdapter::matchMyEndpoints(("giop:tcp:" + address).c_str()) ||
           omni::omniObjAdapter::matchMyEndpoints(("giop:ssl:" + address).c_str());
}

bool mayFollow(const util::PeerAddress& from, const Endpoint& to) {
    if (isOwn(to))
        return false;
    const ForwardCheck* const check = theCheck.load();
    return check != nullptr ? check->mayFollow(from, to)
                            : util::isSameAddress(from, util::parseHostAddress(to.host));
}

/// Return the reference in a reply as text.
std::string forwardedTo(omni::GIOP_C& stream) {
    constexpr std::uint8_t alignedMinor = 2;
    if (stream.version().minor >= alignedMinor)
        stream.alignInput(omni::ALIGN_8);
    IOP::IOR reference;
    reference <<= static_cast<cdrStream&>(stream);
    cdrEncapsulationStream encoded(CORBA::ULong(0), true);
    reference >>= encoded;
    static const char digits[] = "0123456789abcdef";
    const auto* const octets = static_cast<const unsigned char*>(encoded.bufPtr());
    std::string text = "IOR:";
    for (CORBA::ULong i = 0; i < encoded.bufSize(); ++i) {
        text += digits[octets[i] >> 4];
        text += digits[octets[i] & 15];
    }
    return text;
}

[[noreturn]] void follow(Interceptors::clientReceiveReply_T::info_T& info, bool isPermanent) {
    const std::string text = forwardedTo(info.giop_c);
    ReferenceContent content;
    if (!decodeReference(text, content) || content.endpoints.empty())
        giveUp(info.peeraddress(), info.operation(), "it is forwarded to nowhere");
    const util::PeerAddress from = parsePeer(info.peeraddress());
    for (const Endpoint& each : content.endpoints)
        if (!mayFollow(from, each))
            giveUp(info.peeraddress(), info.operation(),
                   "it may not be forwarded to " + hostAndPort(each));
    const CORBA::ORB_var orb = PortState::instance().orb();
    CORBA::Object_var target = orb->string_to_object(text.c_str());
    throw omniORB::LOCATION_FORWARD(target._retn(), isPermanent);
}

CORBA::Boolean onReplyReceived(Interceptors::clientReceiveReply_T::info_T& info) {
    const GIOP::ReplyStatusType status = info.giop_c.replyStatus();
    if (status == GIOP::NEEDS_ADDRESSING_MODE)
        giveUp(info.peeraddress(), info.operation(), "it is to be addressed in another way");
    if (status != GIOP::LOCATION_FORWARD && status != GIOP::LOCATION_FORWARD_PERM)
        return true;
    if (++callOf(info.giop_c.calldescriptor()).forwards > forwardsMax)
        giveUp(info.peeraddress(), info.operation(), "it is forwarded too often");
    if (info.giop_c.checkInputOverrun(1, forwardOctetsMax))
        giveUp(info.peeraddress(), info.operation(), "the reply that forwards it is too long");
    follow(info, status == GIOP::LOCATION_FORWARD_PERM);
}

}  // namespace

void checkForwards(const ForwardCheck* check) {
    theCheck = check;
}

void guardOutgoingCalls() {
    Interceptors* interceptors = omniORB::getInterceptors();
    addOnce(interceptors->clientOpenConnection, onConnection);
    addOnce(interceptors->clientSendRequest, onRequest);
    addOnce(interceptors->clientReceiveReply, onReplyReceived);
}

}  // namespace kelp::orb
