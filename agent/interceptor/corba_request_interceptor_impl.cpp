#include "interceptor/corba_request_interceptor_impl.h"

#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/operation_record.h>
#include <kelp/corbabase/session_callers.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/poas.h>
#include <kelp/util/thread_context.h>
#include <pthread.h>

#include <cstring>
#include <exception>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "util/base_config.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "corba_request_interceptorimpl";

/// Return user name followed by "address:port" of the session that the request belongs to. Empty
/// for a request outside a session.
std::string clientKeyOf(const kelp::orb::RequestInfo& ri) {
    const std::string& context = ri.topPoaName();
    const NS_UTIL::SelfUtilCommon& tags = *NS_UTIL::SelfUtilCommon::Instance();
    std::string key(tags.ViewByTag(context, "<USERNAME_TAG>", "</USERNAME_TAG>", 14));
    key += tags.ViewByTag(context, "<IPANDPORT_TAG>", "</IPANDPORT_TAG>", 15);
    return key;
}

/// Whether any thread waits for calls. A thread that begins to wait just after this check grants
/// its NMS the whole silent time from then on, as it does when a request arrived just before.
bool isAnybodyWaiting() {
    const SessionMgr* sessions = SessionMgr::Existing();
    return sessions != nullptr && sessions->IsAnybodyWaiting();
}

/// Whether the request is a sign of life: with `[session] call_is_life` every request of a session,
/// except endSession.
bool isSignOfLife(const kelp::orb::RequestInfo& ri) {
    return NS_CORBA::CorbaBaseAgentConfig::Instance()->CallIsLife() &&
           NS_CORBA::isSessionName(ri.topPoaName()) && ri.operationName() != "endSession";
}

/// Whether the call is no activity: an NMS may call endSession and ping without using its session.
bool isNoActivity(const std::string& operation) {
    return operation == "endSession" || operation == "ping";
}

}  // namespace

void Corba_Request_InterceptorImpl::SetThreadContext(const kelp::orb::RequestInfo* ri) {
    NS_UTIL::ThreadContextInfo info;
    info.SetThreadID(static_cast<int>(pthread_self()));
    if (ri != nullptr) {
        info.SetInterfaceName(ri->operationName());
    } else {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebugWithPara(1, "[SetThreadContext] ri is null");
    }
    NS_UTIL::ThreadContextMgr::Instance()->SetThreadContext(info);
}

void Corba_Request_InterceptorImpl::receive_request(const kelp::orb::RequestInfo* ri) {
    NS_CORBA::CorbaBaseAgentConfig& base = *NS_CORBA::CorbaBaseAgentConfig::Instance();
    if (!base.IsValidOssIP(ri != nullptr ? ri->peer().ipv4 : kelp::orb::currentPeer().ipv4))
        refuse(ri);
    if (ri != nullptr)
        requireSessionsOwn(*ri);
    SetThreadContext(ri);
    const bool bySilence = base.GetSessionReleaseStrategy() == kReleaseBySilence;
    const bool isActivity =
        bySilence && ri != nullptr && isAnybodyWaiting() && !isNoActivity(ri->operationName());
    const bool isLife = ri != nullptr && isSignOfLife(*ri);
    std::string clientKey;
    try {
        if (isActivity || isLife)
            clientKey = clientKeyOf(*ri);
        NS_CORBA::TaWriteOperLog(ri, 0);
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(
            ex,
            "[Server_Request_Interceptor::receive_request] get CORBA exception while writing "
            "request operation log !");
    } catch (...) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebug(0,
                          "[Server_Request_Interceptor::receive_request] get unknow excpetion "
                          "while writing request "
                          "operation log !");
    }
    if (isActivity || isLife)
        tellSessions(clientKey, isActivity);
}

void Corba_Request_InterceptorImpl::refuse(const kelp::orb::RequestInfo* ri) {
    SetThreadContext(ri);
    const kelp::util::PeerAddress peer = ri != nullptr ? ri->peer() : kelp::orb::currentPeer();
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaDebugWithPara(
        1, "[Server_Request_Interceptor::receive_request] No Permission Client! Peer IP:%s",
        peer.text.empty() ? "0.0.0.0" : peer.text.c_str());
    throw CORBA::NO_PERMISSION();
}

void Corba_Request_InterceptorImpl::requireSessionsOwn(const kelp::orb::RequestInfo& ri) {
    using Verdict = NS_CORBA::SessionCallers::Verdict;
    switch (NS_CORBA::SessionCallers::Instance().Judge(ri)) {
        case Verdict::MayCall:
            return;
        case Verdict::IsOver:
            // an ORB may serve objects of a dying POA as long as an older call is in progress
            throw kelp::orb::unknownObject();
        case Verdict::Stranger:
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaDebugWithPara(1,
                                      "[Server_Request_Interceptor::receive_request] A session is "
                                      "called from %s, not by its NMS!",
                                      ri.peer().withPort.c_str());
            throw NS_CORBA::ForeignSessionCall();
    }
}

void Corba_Request_InterceptorImpl::tellSessions(const std::string& clientKey, bool isActivity) {
    SessionMgr* sessions = SessionMgr::Existing();
    std::vector<ServantRef<EmsSession_IImpl>> called;
    if (sessions == nullptr || !sessions->PinSessionsByClientKey(clientKey, called))
        return;
    for (const ServantRef<EmsSession_IImpl>& session : called) {
        session->source()->noteCall();
        if (isActivity)
            session->wakePoint().signalActivity();
    }
}

}  // namespace NS_KELPCORBA
