#include "omniorb/calls/begun_call.h"

#include <omniORB4/internal/orbParameters.h>
#include <omniORB4/minorCode.h>

#include <utility>

#include "omniorb/calls/reply_connection.h"

namespace kelp::orb {

namespace {

using omni::giopRope;
using omni::giopStrand;
using omni::giopStreamList;

/// The connections of a rope, which are protected.
class OpenRope : private giopRope {
  public:
    static omni::RopeLink& strandsOf(giopRope& rope) { return rope.*(&OpenRope::pd_strands); }
};

/// The plain connection of a strand that has served a call before; null otherwise.
const ReplyConnection* plainConnection(const giopStrand& strand) {
    if (strand.first_use || (strand.flags & GIOPSTRAND_BIDIR) != 0 || strand.connection == nullptr)
        return nullptr;
    const auto* const connection = dynamic_cast<const ReplyConnection*>(strand.connection);
    return connection != nullptr && connection->line() ? connection : nullptr;
}

/// The part of a strand that makes calls, if none is in progress.
omni::GIOP_C* freeClient(giopStrand& strand) {
    for (giopStreamList* each = strand.clients.next; each != &strand.clients; each = each->next) {
        auto* const client = static_cast<omni::GIOP_C*>(each);
        if (client->state() == omni::IOP_C::UnUsed)
            return client;
    }
    return nullptr;
}

}  // namespace

/// Gives the connection back at the end of a call.
class BegunCall::Ending {
  public:
    explicit Ending(BegunCall& call) : call_(call) {}
    ~Ending() {
        // first, because the next call may begin as soon as the connection is released
        call_.line_->endAwaiting();
        call_.release();
    }
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

  private:
    BegunCall& call_;
};

BegunCall::~BegunCall() {
    release();
    if (identity_ != nullptr) {
        const omni_tracedmutex_lock lock(*omni::internalLock);
        identity_->loseRef();
    }
    if (reference_ != nullptr)
        reference_->release();
}

bool BegunCall::prepare(CORBA::Object_ptr target) {
    omniObjRef* const object = target->_PR_getobj();
    return object != nullptr && findIdentity(*object) && takeClient();
}

/// False for an object in this process, and for one to which calls are forwarded.
bool BegunCall::findIdentity(omniObjRef& target) {
    {
        const omni_tracedmutex_lock lock(*omni::internalLock);
        auto* const identity = omniRemoteIdentity::downcast(target._identity());
        if (identity == nullptr || target._isForwardLocation())
            return false;
        identity->gainRef();
        identity_ = identity;
    }
    rope_ = static_cast<giopRope*>(identity_->rope());
    reference_ = target._getIOR();
    return reference_ != nullptr;
}

/// As the ORB takes a connection for a call, but only one that is free: the ORB would wait for one
/// or open another.
bool BegunCall::takeClient() {
    const GIOP::Version wanted = reference_->getIORInfo()->version();
    const omni_tracedmutex_lock lock(*omni::omniTransportLock);
    omni::RopeLink& strands = OpenRope::strandsOf(*rope_);
    for (omni::RopeLink* each = strands.next; each != &strands; each = each->next) {
        auto& strand = *static_cast<giopStrand*>(each);
        if (strand.state() != giopStrand::ACTIVE || strand.version.major != wanted.major ||
            strand.version.minor != wanted.minor)
            continue;
        const ReplyConnection* const connection = plainConnection(strand);
        omni::GIOP_C* const client = connection != nullptr ? freeClient(strand) : nullptr;
        if (client == nullptr)
            continue;
        client->initialise(reference_, identity_->key(), identity_->keysize(), &call_);
        client_ = client;
        line_ = connection->line();
        return true;
    }
    return false;
}

void BegunCall::release() {
    if (omni::GIOP_C* const client = std::exchange(client_, nullptr))
        rope_->releaseClient(client);
}

void BegunCall::send() {
    call_.initialiseCall(client_->getStream());
    client_->InitialiseRequest();
}

BegunCall::End BegunCall::receive() {
    omni::GIOP_C& client = *client_;
    const Ending ending(*this);
    try {
        const GIOP::ReplyStatusType status = client.ReceiveReply();
        if (status == GIOP::NO_EXCEPTION) {
            call_.unmarshalReturnedValues(client.getStream());
            client.RequestCompleted();
            return End::Returned;
        }
        if (status == GIOP::USER_EXCEPTION) {
            const CORBA::String_var id = client.getStream().unmarshalRawString();
            call_.userException(client.getStream(), &client, id.in());
            return End::Returned;
        }
        client.RequestCompleted(true);
        return End::Undecided;
    } catch (omniORB::LOCATION_FORWARD& forward) {
        const CORBA::Object_var released = forward.get_obj();
        return End::Undecided;
    } catch (const omni::giopStream::CommFailure& failure) {
        if (failure.retry())
            return End::Undecided;
        if (failure.minor() != omni::TRANSIENT_CallTimedout)
            throw CORBA::COMM_FAILURE(failure.minor(), failure.completed());
        if (omni::orbParameters::throwTransientOnTimeOut)
            throw CORBA::TRANSIENT(omni::TRANSIENT_CallTimedout, failure.completed());
        throw CORBA::TIMEOUT(omni::TIMEOUT_CallTimedOutOnClient, failure.completed());
    }
}

}  // namespace kelp::orb
