#include "omniorb/requests/interception.h"

#include <kelp/orb/exception_text.h>
#include <kelp/orb/poas.h>
#include <omniORB4/callDescriptor.h>
#include <omniORB4/omniInterceptors.h>

// a request's object key is declared only in the ORB's internal headers, whose order matters
// clang-format off
#include <omniORB4/IOP_S.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_S.h>
// clang-format on

#include <atomic>
#include <exception>
#include <string_view>

#include "omniorb/requests/interceptor_list.h"
#include "omniorb/requests/locating.h"
#include "omniorb/requests/object_key.h"
#include "omniorb/requests/ready_reply.h"
#include "omniorb/requests/trial_encoding.h"
#include "omniorb/tls.h"
#include "port_state.h"
#include "request_record.h"
#include "trace.h"

namespace kelp::orb {

namespace {

using Interceptors = omni::omniInterceptors;

std::atomic<RequestHook*> theHook{nullptr};

/// Call the hook, and let only system exceptions pass: any other would end the connection.
template <class Call>
void callHook(const char* point, Call call) {
    try {
        call();
        return;
    } catch (const CORBA::SystemException&) {
        throw;
    } catch (const CORBA::Exception& ex) {
        traceException(std::string(point) + " raised " + exceptionText(ex));
    } catch (const std::exception& ex) {
        traceException(std::string(point) + " threw: " + ex.what());
    } catch (...) {
        traceException(std::string(point) + " threw something unknown");
    }
    throw CORBA::UNKNOWN(0, CORBA::COMPLETED_NO);
}

/// Return the target of an object key. A well-known key is the object id alone. A key of another
/// form belongs to no POA below the root.
RequestRecord::Target targetOfKey(std::string_view octets) {
    const ObjectKey key = ObjectKey::of(octets);
    std::string_view path = key.poaPath;
    RequestRecord::Target target;
    target.topPoaName = ObjectKey::takeName(path);
    target.childPoaName = ObjectKey::takeName(path);
    if (!key.poaPath.empty())
        target.objectId = key.objectId;
    else if (!key.hasTransientMark && !octets.empty() && octets.front() != '\xff')
        target.objectId = octets;
    return target;
}

std::string_view keyOf(omni::GIOP_S& request) {
    // a request that addresses its target by a whole profile has no key, and no object is found
    const int size = request.keysize();
    const CORBA::Octet* const octets = request.key();
    if (size < 0 || octets == nullptr)
        return {};
    return {reinterpret_cast<const char*>(octets), static_cast<std::size_t>(size)};
}

/// Report a request that reached no servant. It has been answered, or never will be.
void endUndelivered(ThreadRequests& requests, const CORBA::Exception* answer) {
    RequestHook* const hook = theHook.load();
    if (const RequestInfo* const request = requests.waiting();
        request != nullptr && hook != nullptr)
        hook->undelivered(*request, answer);
    requests.drop();
}

CORBA::Boolean onReceived(Interceptors::serverReceiveRequest_T::info_T& info) {
    ThreadRequests& requests = ThreadRequests::ofThisThread();
    endUndelivered(requests, nullptr);
    TrialEncoding::begin(info.giop_s);
    ReadyReply::begin(info.giop_s);
    RequestRecord& record = requests.arrive();
    const std::string_view key = keyOf(info.giop_s);
    record.assign(info.operation(), {info.peeraddress(), peerSubject(info.peerdetails())}, key,
                  targetOfKey);
    if (RequestHook* const hook = theHook.load(); hook != nullptr) {
        try {
            callHook("request hook, received,", [&] { hook->received(record); });
        } catch (...) {
            requests.drop();
            throw;
        }
    }
    if (!isOfThisLife(key))
        throw unknownObject();
    return true;
}

/// Run the servant. Its answer is replaced by DATA_CONVERSION if the client's code set cannot
/// represent it.
void serve(omniCallDescriptor& call, omniServant* servant) {
    ReadyReply::Scope ready(call);
    try {
        call.interceptedCall(servant);
    } catch (const CORBA::UserException& answer) {
        TrialEncoding::requireWritable(answer);
        throw;
    }
    TrialEncoding::requireWritable(call);
    ready.finish();
}

void onUpcall(omniCallDescriptor* call, omniServant* servant) {
    if (!call->is_upcall()) {
        const ReadyReply::Scope inProcess;
        call->interceptedCall(servant);
        return;
    }
    ThreadRequests& requests = ThreadRequests::ofThisThread();
    // a POA may run servants on another thread than the one that read the request; the hook is
    // called there too
    if (!requests.hasArrived()) {
        const CORBA::ORB_var orb = PortState::instance().orb();
        requests.arrive().assign(call->op(), nullptr, {currentTopPoaName(orb.in()), {}, {}});
    }
    const ThreadRequests::Serving serving(requests);
    RequestHook* hook = theHook.load();
    if (hook == nullptr) {
        serve(*call, servant);
        return;
    }
    callHook("request hook, dispatching,", [&] { hook->dispatching(serving.request()); });
    try {
        serve(*call, servant);
    } catch (const CORBA::Exception& raised) {
        hook->finished(serving.request(), &raised);
        throw;
    } catch (...) {
        const CORBA::UNKNOWN unknown;
        hook->finished(serving.request(), &unknown);
        throw;
    }
    hook->finished(serving.request(), nullptr);
}

CORBA::Boolean onReplySent(Interceptors::serverSendReply_T::info_T&) {
    TrialEncoding::forget();
    ReadyReply::forget();
    ThreadRequests::ofThisThread().drop();
    return true;
}

CORBA::Boolean onException(Interceptors::serverSendException_T::info_T& info) {
    TrialEncoding::forget();
    ReadyReply::forget();
    endUndelivered(ThreadRequests::ofThisThread(), info.exception);
    return true;
}

}  // namespace

void interceptRequests(RequestHook* hook) {
    theHook = hook;
    answerLocateRequestsTruly();
    Interceptors* interceptors = omniORB::getInterceptors();
    addOnce(interceptors->serverReceiveRequest, onReceived);
    addOnce(interceptors->invokeLocalCall, onUpcall);
    addOnce(interceptors->serverSendReply, onReplySent);
    addOnce(interceptors->serverSendException, onException);
}

}  // namespace kelp::orb
