#include "session/silence_threads.h"

#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>

#include <cstdio>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "emssessionfactoryimpl";
constexpr const char* kSilentSubject = "sessionmgr";

std::int64_t silentTime() {
    return NS_CORBA::CorbaBaseAgentConfig::Instance()->GetSilentTime();
}

void printExitLine() {
    std::printf("[SilentWaiting:] Detection Thread now Exit!!\n");
    std::fflush(stdout);
}

void waitForCalls(EmsSession_IImpl& session) {
    SessionSource* source = session.source();
    std::uint64_t seen = 0;
    WaitEnd end = WaitEnd::Activity;
    while (end == WaitEnd::Activity) {
        end = session.wakePoint().wait(
            silentTime(), seen, [&] { return source->get_state() == Normal; },
            [&] { return source->endFrom(Normal, EndReason::Silent, "EMS"); });
    }
    if (end != WaitEnd::TimedOut)
        return;
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[theWaiting] Waiting for NMS invoke time out, session will be destroyed!");
    TASessionSource::check_valid(source);
}

/// Return true when the end of the thread is to be printed.
bool waitSilently(EmsSession_IImpl& session) {
    SessionSource* source = session.source();
    const std::uint32_t number = source->silent_waiting_number();
    NS_CORBA::tracePoint(kSilentSubject);
    NS_CORBA::TaTrace("[SilentWaiting:] Waiting for Invoking from: %s.",
                      source->get_ip_and_port().c_str());
    std::uint64_t seen = 0;
    WaitEnd end = WaitEnd::Activity;
    while (end == WaitEnd::Activity) {
        end = session.wakePoint().wait(
            silentTime(), seen, [&] { return source->is_waiting_silently(number); },
            [&] { return source->endFrom(SilentWaiting, EndReason::Silent, "EMS"); });
    }
    source->leave_silent_waiting(number);
    if (end == WaitEnd::TimedOut) {
        NS_CORBA::tracePoint(kSilentSubject);
        NS_CORBA::TaTrace(
            "[SilentWaiting] Exceed silent waiting period, now session %s will be destroyed",
            source->get_ip_and_port().c_str());
        TASessionSource::check_valid(source);
    }
    return end != WaitEnd::AgentExits;
}

void leave(EmsSession_IImpl* session) {
    session->setWaitingThread(0);
    SessionMgr::Instance()->LeaveWaiting(session);
}

}  // namespace

ACE_THR_FUNC_RETURN theWaiting(void* argument) {
    auto* session = static_cast<EmsSession_IImpl*>(argument);
    waitForCalls(*session);
    leave(session);
    return nullptr;
}

ACE_THR_FUNC_RETURN SilentWaitingThread(void* argument) {
    auto* session = static_cast<EmsSession_IImpl*>(argument);
    if (session == nullptr) {
        NS_CORBA::tracePoint(kSilentSubject);
        NS_CORBA::TaTrace("[SilentWaiting]pEmsSession is null, thread return now.");
        return nullptr;
    }
    if (SessionMgr::Instance()->GetSessionSource(session) == nullptr) {
        NS_CORBA::tracePoint(kSilentSubject);
        NS_CORBA::TaTrace("[SilentWaiting]GetSessionSource is null, thread return now.");
        leave(session);
        return nullptr;
    }
    const bool print = waitSilently(*session);
    leave(session);
    if (print)
        printExitLine();
    return nullptr;
}

}  // namespace NS_KELPCORBA
