// The session manager's service thread: one round an interval over all sessions.

#include <kelp/agent/session_mgr.h>

#include "adapter/sessionsource.h"
#include "session/emssessionimpl.h"
#include "session/waitingthreads.h"
#include "util/servantref.h"
#include "util/tracepoint.h"

#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/timeouts.h>

#include <ace/Guard_T.h>
#include <ace/OS_NS_Thread.h>
#include <ace/Signal.h>

#include <algorithm>
#include <chrono>

namespace NS_KELPCORBA {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr const char* kSubject = "sessionmgr";
constexpr std::uint64_t kTimeUnitsPerSecond = 10'000'000;  // of 100 ns
/// What the stop grants a single NMS and all of them together; a frozen NMS must not keep the host alive.
constexpr milliseconds kExitCallLimit{1000};
constexpr milliseconds kExitTotalLimit{15000};

void blockAllSignals() {
    ACE_Sig_Set all(1);
    ACE_OS::thr_sigsetmask(SIG_BLOCK, all, nullptr);
}

nanoseconds monotonicNow() {
    return std::chrono::duration_cast<nanoseconds>(steady_clock::now().time_since_epoch());
}

}  // namespace

int SessionMgr::svc() {
    blockAllSignals();
    SetCallTimeouts();
    for (;;) {
        const std::size_t count = SessionCount();
        if (exitRequested_ && count == 0)
            break;
        const ACE_Time_Value interval(static_cast<time_t>(pingInterval_.load()));
        wakeUp_.wait(&interval, 0);
        RunRound();
    }
    exitSemaphore_.release();
    return 0;
}

void SessionMgr::SetCallTimeouts() {
    NS_CORBA::CorbaBaseAgentConfig* config = NS_CORBA::CorbaBaseAgentConfig::Instance();
    const std::uint64_t limit = static_cast<std::uint64_t>(config->TimeOut()) * kTimeUnitsPerSecond;
    try {
        const CORBA::ORB_var orb = config->GetOrb();
        if (!config->SetCurrentThreadTimeOutPolicy(orb.in(), limit)) {
            tracePoint(kSubject);
            NS_CORBA::TaDebug(
                1, "[SetTimeOutPolicy] Call CorbaAgentConfig::SetCurrentThreadTimeOutPolicy failed");
        } else if (!config->SetORBTimeOutPolicy(orb.in(), 3 * limit)) {
            tracePoint(kSubject);
            NS_CORBA::TaDebug(1, "[SetTimeOutPolicy] Call CorbaAgentConfig::SetORBTimeOutPolicy failed");
        }
    } catch (const CORBA::Exception& ex) {
        tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[SetTimeOutPolicy] The time-outs could not be set");
    }
}

void SessionMgr::RunRound() {
    NS_CORBA::SuppilerMgr::Instance()->check_channel_valid();
    std::vector<ServantRef<EmsSession_IImpl>> sessions = PinSessions();
    const EventLoss loss = CurrentEventLoss();
    std::list<EmsSession_IImpl*> eraseList;
    for (const ServantRef<EmsSession_IImpl>& session : sessions)
        CheckSession(session, loss, eraseList);
    // while they are pinned: at the address of a session that went meanwhile there may be a new one
    if (!eraseList.empty())
        EraseSessions(eraseList);
}

void SessionMgr::CheckSession(const ServantRef<EmsSession_IImpl>& session, const EventLoss& loss,
                              std::list<EmsSession_IImpl*>& eraseList) {
    SessionSource* source = session->source();
    if (source == nullptr)
        return;
    const bool exiting = exitRequested_;
    if (exiting)
        PrepareForExit(*source);
    // at exit nobody is waited for: a dead NMS would keep the host alive
    const bool silentMode = silentMode_ && !exiting;
    if (source->check_valid(loss.cleared != 0, loss.text1.c_str(), loss.text2.c_str(), silentMode) != 0) {
        eraseList.push_back(session.get());
        session->wakePoint().wake();
    }
    if (silentMode && source->get_state() == SilentWaiting && !source->get_silent_waiting()) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionMgr::svc]user<%s>,ip<%s>,Ping 3 times failed, now start a new thread to wait for OSS "
            "responce "
            "silently.",
            source->get_user_name().c_str(), source->get_ip_and_port().c_str());
        source->set_silent_waiting();
        if (!SpawnWaiting(session.get(), SilentWaitingThread))
            source->clear_silent_waiting();
    }
    if (source->get_ping_answered() && source->change_state(SilentWaiting, Normal)) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionMgr::svc]user<%s>,ip<%s>,Ping OSS succeeded, Now END waiting.",
                          source->get_user_name().c_str(), source->get_ip_and_port().c_str());
        session->wakePoint().wake();
        source->clear_silent_waiting();
    }
}

void SessionMgr::PrepareForExit(SessionSource& source) {
    tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::svc] EMS process will exit!");
    const std::int64_t now = monotonicNow().count();
    if (exitDeadline_ == 0)
        exitDeadline_ = now + nanoseconds(kExitTotalLimit).count();
    const auto left = std::chrono::duration_cast<milliseconds>(nanoseconds(exitDeadline_ - now));
    if (left < milliseconds(1)) {
        // the time for telling is used up: the rest ends untold
        source.set_state(Ended);
        return;
    }
    kelp::orb::setThreadTimeout(std::min(left, kExitCallLimit));
    source.set_state(EmsExiting);
}

SessionMgr::EventLoss SessionMgr::CurrentEventLoss() {
    const ACE_Guard<ACE_Thread_Mutex> lock(eventLossLock_);
    return eventLoss_;
}

}  // namespace NS_KELPCORBA
