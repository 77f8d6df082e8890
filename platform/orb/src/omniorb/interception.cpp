#include "interception.h"

#include <kelp/orb/exception_text.h>
#include <kelp/orb/poas.h>
#include <omniORB4/callDescriptor.h>
#include <omniORB4/omniInterceptors.h>

// the object key of a request is only in the ORB's internal headers, whose order matters
// clang-format off
#include <omniORB4/IOP_S.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_S.h>
// clang-format on

#include <algorithm>
#include <atomic>
#include <exception>
#include <string_view>

#include "../port_state.h"
#include "../request_record.h"
#include "../trace.h"
#include "interceptor_list.h"

namespace kelp::orb {

namespace {

using Interceptors = omni::omniInterceptors;

std::atomic<RequestHook*> theHook{nullptr};

/// Calls the hook so that nothing but a system exception comes out: anything else would end the connection.
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

/// Keys are FF name FF name ... then FE and 8 octets (transient) or nothing (persistent), 00, object id. A
/// key of another form belongs to no POA below the root.
RequestRecord::Target targetOfKey(std::string_view key) {
    constexpr char nameMark = '\xff';
    constexpr char transientMark = '\xfe';
    constexpr std::size_t transientOctets = 8;
    const auto endsName = [](char octet) {
        return octet == nameMark || octet == transientMark || octet == '\0';
    };

    RequestRecord::Target target;
    std::size_t depth = 0;
    while (!key.empty() && key.front() == nameMark) {
        const auto found = std::find_if(key.begin() + 1, key.end(), endsName);
        if (found == key.end())
            return {};
        const auto end = static_cast<std::size_t>(found - key.begin());
        if (depth == 0)
            target.topPoaName = key.substr(1, end - 1);
        else if (depth == 1)
            target.childPoaName = key.substr(1, end - 1);
        ++depth;
        key.remove_prefix(end);
    }
    if (!key.empty() && key.front() == transientMark)
        key.remove_prefix(std::min(key.size(), 1 + transientOctets));
    if (depth == 0 || key.empty() || key.front() != 0)
        return depth == 0 ? RequestRecord::Target() : target;
    target.objectId = key.substr(1);
    return target;
}

std::string_view keyOf(omni::GIOP_S& request) {
    // a request may also address its target by a whole profile; then there is no key, and no object is found
    const int size = request.keysize();
    const CORBA::Octet* const octets = request.key();
    if (size < 0 || octets == nullptr)
        return {};
    return {reinterpret_cast<const char*>(octets), static_cast<std::size_t>(size)};
}

/// The request that reached no servant has been answered, or will never be.
void endUndelivered(ThreadRequests& requests, const CORBA::Exception* answer) {
    RequestHook* const hook = theHook.load();
    if (const RequestInfo* const request = requests.waiting(); request != nullptr && hook != nullptr)
        hook->undelivered(*request, answer);
    requests.drop();
}

CORBA::Boolean onReceived(Interceptors::serverReceiveRequest_T::info_T& info) {
    ThreadRequests& requests = ThreadRequests::ofThisThread();
    endUndelivered(requests, nullptr);
    RequestRecord& record = requests.arrive();
    record.assign(info.operation(), info.peeraddress(), keyOf(info.giop_s), targetOfKey);
    RequestHook* hook = theHook.load();
    if (hook == nullptr)
        return true;
    try {
        callHook("request hook, received,", [&] { hook->received(record); });
    } catch (...) {
        requests.drop();
        throw;
    }
    return true;
}

void onUpcall(omniCallDescriptor* call, omniServant* servant) {
    if (!call->is_upcall()) {
        call->interceptedCall(servant);
        return;
    }
    ThreadRequests& requests = ThreadRequests::ofThisThread();
    // a POA whose servants run on another thread than the one that read the request: never pass the hook by
    if (!requests.hasArrived()) {
        const CORBA::ORB_var orb = PortState::instance().orb();
        requests.arrive().assign(call->op(), nullptr, {currentTopPoaName(orb.in()), {}, {}});
    }
    const ThreadRequests::Serving serving(requests);
    RequestHook* hook = theHook.load();
    if (hook == nullptr) {
        call->interceptedCall(servant);
        return;
    }
    callHook("request hook, dispatching,", [&] { hook->dispatching(serving.request()); });
    try {
        call->interceptedCall(servant);
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

CORBA::Boolean onReply(Interceptors::serverSendReply_T::info_T&) {
    ThreadRequests::ofThisThread().drop();
    return true;
}

CORBA::Boolean onException(Interceptors::serverSendException_T::info_T& info) {
    endUndelivered(ThreadRequests::ofThisThread(), info.exception);
    return true;
}

}  // namespace

void interceptRequests(RequestHook* hook) {
    theHook = hook;
    Interceptors* interceptors = omniORB::getInterceptors();
    addOnce(interceptors->serverReceiveRequest, onReceived);
    addOnce(interceptors->invokeLocalCall, onUpcall);
    addOnce(interceptors->serverSendReply, onReply);
    addOnce(interceptors->serverSendException, onException);
}

}  // namespace kelp::orb
