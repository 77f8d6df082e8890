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

#include <atomic>
#include <exception>
#include <string_view>

#include "../port_state.h"
#include "../request_record.h"
#include "../trace.h"

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

/// Keys are FF name FF name ... then FE and a random part (transient) or nothing (persistent), 00, object id.
/// A key of another form belongs to no POA below the root.
std::string_view topPoaNameOfKey(const CORBA::Octet* key, int size) {
    constexpr CORBA::Octet nameMark = 0xff;
    constexpr CORBA::Octet transientMark = 0xfe;
    if (key == nullptr || size < 2 || key[0] != nameMark)
        return {};
    int end = 1;
    while (end < size && key[end] != nameMark && key[end] != transientMark && key[end] != 0)
        ++end;
    if (end == size)
        return {};
    return {reinterpret_cast<const char*>(key) + 1, static_cast<std::size_t>(end - 1)};
}

CORBA::Boolean onReceived(Interceptors::serverReceiveRequest_T::info_T& info) {
    ThreadRequests& requests = ThreadRequests::ofThisThread();
    // a request may also address its target by a whole profile; then there is no key, and no object is found
    const int keySize = info.giop_s.keysize();
    RequestRecord& record = requests.arrive();
    record.assign(info.operation(), info.peeraddress(),
                  keySize < 0 ? std::string_view() : topPoaNameOfKey(info.giop_s.key(), keySize));
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

/// Tells the hook that the servant is through, however it ended.
class FinishedNotice {
  public:
    FinishedNotice(RequestHook& hook, const RequestInfo& request) : hook_(hook), request_(request) {}
    ~FinishedNotice() { hook_.finished(request_); }
    FinishedNotice(const FinishedNotice&) = delete;
    FinishedNotice& operator=(const FinishedNotice&) = delete;

  private:
    RequestHook& hook_;
    const RequestInfo& request_;
};

void onUpcall(omniCallDescriptor* call, omniServant* servant) {
    if (!call->is_upcall()) {
        call->interceptedCall(servant);
        return;
    }
    ThreadRequests& requests = ThreadRequests::ofThisThread();
    // a POA whose servants run on another thread than the one that read the request: never pass the hook by
    if (!requests.hasArrived()) {
        const CORBA::ORB_var orb = PortState::instance().orb();
        requests.arrive().assign(call->op(), nullptr, currentTopPoaName(orb.in()));
    }
    const ThreadRequests::Serving serving(requests);
    RequestHook* hook = theHook.load();
    if (hook == nullptr) {
        call->interceptedCall(servant);
        return;
    }
    callHook("request hook, dispatching,", [&] { hook->dispatching(serving.request()); });
    const FinishedNotice notice(*hook, serving.request());
    call->interceptedCall(servant);
}

CORBA::Boolean onReply(Interceptors::serverSendReply_T::info_T&) {
    ThreadRequests::ofThisThread().drop();
    return true;
}

CORBA::Boolean onException(Interceptors::serverSendException_T::info_T&) {
    ThreadRequests::ofThisThread().drop();
    return true;
}

/// Lists that survive the ORB they were made for would otherwise hold a function twice.
template <class List, class Function>
void addOnce(List& list, Function function) {
    list.remove(function);
    list.add(function);
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
