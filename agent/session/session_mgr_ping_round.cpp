// The service thread of the session manager: one round over all sessions per interval.

#include <ace/OS_NS_Thread.h>
#include <ace/Signal.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/timeouts.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "adapter/session_check.h"
#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "session/event_loss_state.h"
#include "session/ordered_run.h"
#include "session/session_list.h"
#include "session/silence_threads.h"
#include "util/containment.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr const char* kSubject = "sessionmgr";
constexpr std::uint64_t kTimeUnitsPerSecond = 10'000'000;  // of 100 ns
/// Time that the stop grants one NMS, and all NMS together. A frozen NMS must not keep the host
/// alive.
constexpr milliseconds kExitCallLimit{1000};
constexpr milliseconds kExitTotalLimit{15000};

void blockAllSignals() {
    ACE_Sig_Set all(1);
    ACE_OS::thr_sigsetmask(SIG_BLOCK, all, nullptr);
}

milliseconds configuredCallLimit() {
    return seconds(NS_CORBA::CorbaBaseAgentConfig::Instance()->TimeOut());
}

}  // namespace

/// The part of a round that checks one session.
struct SessionMgr::RoundEntry {
    RoundEntry(ServantRef<EmsSession_IImpl> of, const EventLossReport& loss)
        : session(std::move(of)), check(*session->source(), loss) {}

    ServantRef<EmsSession_IImpl> session;
    SessionCheck check;
    milliseconds callLimit{0};
    bool silentMode = false;
};

int SessionMgr::svc() {
    blockAllSignals();
    SetCallTimeouts();
    const auto interval = [this] { return seconds(pingInterval_.load()); };
    auto roundDue = steady_clock::now() + interval();
    while (!exitRequested_ || !sessions_->closeIfEmpty()) {
        SleepUntil(roundDue);
        // counted from the beginning of the round, so that NMS that hang do not delay the pings of
        // the others
        const steady_clock::time_point begun = steady_clock::now();
        roundDue = begun + interval();
        contained(kSubject, "[SessionMgr::svc]", [this] { RunRound(); });
        lastRound_ = std::chrono::duration_cast<milliseconds>(steady_clock::now() - begun);
    }
    exitSemaphore_.release();
    return 0;
}

void SessionMgr::SleepUntil(steady_clock::time_point roundDue) {
    using std::chrono::microseconds;
    const auto left =
        exitRequested_ ? microseconds(0)
                       : std::max(microseconds(0),
                                  std::chrono::ceil<microseconds>(roundDue - steady_clock::now()));
    const ACE_Time_Value time(static_cast<time_t>(left / seconds(1)),
                              static_cast<suseconds_t>((left % seconds(1)).count()));
    wakeUp_.wait(&time, 0);
}

void SessionMgr::SetCallTimeouts() {
    NS_CORBA::CorbaBaseAgentConfig* config = NS_CORBA::CorbaBaseAgentConfig::Instance();
    const std::uint64_t limit = static_cast<std::uint64_t>(config->TimeOut()) * kTimeUnitsPerSecond;
    try {
        const CORBA::ORB_var orb = config->GetOrb();
        if (!config->SetCurrentThreadTimeOutPolicy(orb.in(), limit)) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaDebug(
                1,
                "[SetTimeOutPolicy] Call CorbaAgentConfig::SetCurrentThreadTimeOutPolicy failed");
        } else if (!config->SetORBTimeOutPolicy(orb.in(), 3 * limit)) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaDebug(
                1, "[SetTimeOutPolicy] Call CorbaAgentConfig::SetORBTimeOutPolicy failed");
        }
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[SetTimeOutPolicy] The time-outs could not be set");
    }
}

void SessionMgr::RunRound() {
    NS_CORBA::SuppilerMgr::Instance()->check_channel_valid();
    const EventLoss loss = eventLoss_->current();
    const EventLossReport report{loss.isCleared, loss.time.c_str(), loss.notificationId.c_str()};
    std::vector<RoundEntry> entries;
    for (ServantRef<EmsSession_IImpl>& session : PinSessions()) {
        if (session->source() != nullptr)
            entries.emplace_back(std::move(session), report);
    }
    std::list<EmsSession_IImpl*> eraseList;
    OrderedSteps steps;
    steps.begin = [&](std::size_t i) { BeginCheck(entries[i]); };
    steps.run = [&](std::size_t i) {
        kelp::orb::setThreadTimeout(entries[i].callLimit);
        entries[i].check.call();
    };
    steps.conclude = [&](std::size_t i) {
        contained(kSubject, "[SessionMgr::svc]", [&] { ConcludeCheck(entries[i], eraseList); });
    };
    runInOrder(entries.size(), pingThreads_, steps);
    // while they are pinned: afterwards a new session may occupy the memory of one that has ended
    if (!eraseList.empty())
        EraseSessions(eraseList);
}

void SessionMgr::BeginCheck(RoundEntry& entry) {
    const bool exiting = exitRequested_;
    entry.callLimit = exiting ? PrepareForExit(*entry.session->source()) : configuredCallLimit();
    // the stop waits for no NMS: a dead one would keep the host alive
    entry.silentMode = silentMode_ && !exiting;
    entry.check.begin(entry.silentMode);
}

void SessionMgr::ConcludeCheck(RoundEntry& entry, std::list<EmsSession_IImpl*>& eraseList) {
    const ServantRef<EmsSession_IImpl>& session = entry.session;
    SessionSource* const source = session->source();
    if (entry.check.conclude() != 0) {
        eraseList.push_back(session.get());
        session->wakePoint().wake();
    }
    if (entry.silentMode && source->get_state() == SilentWaiting && !source->get_silent_waiting()) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionMgr::svc]user<%s>,ip<%s>,Ping 3 times failed, now start a new thread to wait "
            "for OSS "
            "responce "
            "silently.",
            source->get_user_name().c_str(), source->get_ip_and_port().c_str());
        source->set_silent_waiting();
        if (!SpawnWaiting(session.get(), SilentWaitingThread))
            source->clear_silent_waiting();
    }
    if (source->get_ping_answered() && source->change_state(SilentWaiting, Normal)) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionMgr::svc]user<%s>,ip<%s>,Ping OSS succeeded, Now END waiting.",
                          source->get_user_name().c_str(), source->get_ip_and_port().c_str());
        session->wakePoint().wake();
        source->clear_silent_waiting();
    }
}

milliseconds SessionMgr::PrepareForExit(SessionSource& source) {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::svc] EMS process will exit!");
    source.life().endFor(EndReason::HostStopped, "EMS");
    const steady_clock::time_point now = steady_clock::now();
    if (!exitDeadline_)
        exitDeadline_ = now + kExitTotalLimit;
    const auto left = std::chrono::duration_cast<milliseconds>(*exitDeadline_ - now);
    if (left < milliseconds(1)) {
        // the time for notifying is used up: the remaining sessions end without notice
        source.set_state(Ended);
        return kExitCallLimit;
    }
    source.set_state(EmsExiting);
    return std::min(left, kExitCallLimit);
}

}  // namespace NS_KELPCORBA
