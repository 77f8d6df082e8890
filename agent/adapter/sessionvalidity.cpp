// The round's check of one session: tear-down, event-loss relay, ping.

#include "adapter/sessionsource.h"
#include "util/tracepoint.h"

#include <kelp/corbabase/base_config.h>
#include <kelp/orb/exception_text.h>

#include <ace/Guard_T.h>

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionsource";
/// A session whose count of failed pings is above this at the start of a check is given up.
constexpr std::int32_t kMostFailedPings = 3;

using SourceLock = ACE_Write_Guard<ACE_RW_Mutex>;

bool pingMode() {
    return NS_CORBA::CorbaBaseAgentConfig::Instance()->GetEmsPingMode();
}

}  // namespace

int SessionSource::check_valid(bool eventLossClearedNow, const char* time, const char* notificationId,
                               bool silentMode) {
    switch (judge(silentMode)) {
        case Verdict::TellAndTearDown:
            tellEnd();
            return tearDown();
        case Verdict::TearDown:
            return tearDown();
        case Verdict::GoOn:
            break;
    }
    if (get_event_loss_cleared() == eventLossClearedNow)
        pingNms();
    else if (eventLossClearedNow)
        eventLossCleared_i(time);
    else
        eventLossOccurred_i(time, notificationId);
    return 0;
}

SessionSource::Verdict SessionSource::judge(bool silentMode) {
    const SourceLock lock(lock_);
    if (pingFailures_ > kMostFailedPings) {
        if (!silentMode) {
            state_ = Invalid;
            return Verdict::TearDown;
        }
        if (state_ != Ended && state_ != SilentWaiting) {
            // on purpose over EmsExiting and even the final Invalid: in silent mode the NMS is waited for
            state_ = SilentWaiting;
            return Verdict::GoOn;
        }
    }
    switch (state_) {
        case EmsExiting:
            return Verdict::TellAndTearDown;
        case Ended:
        case Invalid:
            return Verdict::TearDown;
        default:
            return Verdict::GoOn;
    }
}

void SessionSource::tellEnd() {
    const nmsSession::NmsSession_I_var nms = get_nms_session();
    try {
        if (!CORBA::is_nil(nms.in()))
            nms->endSession();
    } catch (const CORBA::Exception& ex) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionSource::check_valid]Exception raised during endSession,user<%s>,ip<%s>.==>%s",
            userName_.c_str(), ipAndPort_.c_str(), kelp::orb::exceptionText(ex).c_str());
    }
}

void SessionSource::pingNms() {
    if (!pingMode())
        return;
    const nmsSession::NmsSession_I_var nms = get_nms_session();
    try {
        if (CORBA::is_nil(nms.in()))
            throw CORBA::INV_OBJREF();
        nms->ping();
        pingSucceeded();
    } catch (const CORBA::Exception& ex) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionSource::check_valid] Exception raised during PING operation,user<%s>,ip<%s>.==>%s",
            userName_.c_str(), ipAndPort_.c_str(), kelp::orb::exceptionText(ex).c_str());
        pingFailed();
    }
}

int SessionSource::tearDown() {
    const PortableServer::POA_var poa = get_POA();
    if (CORBA::is_nil(poa.in()))
        return -1;
    tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[SessionSource::check_valid]Detect nmsSession failed or ems wants exit, now EMS will destroy "
        "associated "
        "emsSession resource,user<%s>,ip<%s>.",
        userName_.c_str(), ipAndPort_.c_str());
    try {
        destroyAdapters(poa.in());
    } catch (const CORBA::Exception& ex) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionSource::check_valid]Exception raised during destroy session "
            "resource,user<%s>,ip<%s>.==>%s",
            userName_.c_str(), ipAndPort_.c_str(), kelp::orb::exceptionText(ex).c_str());
    }
    // also when the tree was gone already: the log-in is still there
    logOutOnce();
    return -1;
}

void SessionSource::eventLossOccurred_i(const char* startTime, const char* notificationId) {
    if (get_state() != Normal)
        return;
    if (!pingMode()) {
        setEventLossCleared(false);
        return;
    }
    const nmsSession::NmsSession_I_var nms = get_nms_session();
    try {
        if (CORBA::is_nil(nms.in()))
            throw CORBA::INV_OBJREF();
        nms->eventLossOccurred(startTime, notificationId);
        pingSucceeded();
        setEventLossCleared(false);
    } catch (const CORBA::Exception& ex) {
        pingFailed();
        tracePoint(kSubject);
        NS_CORBA::TaException(
            ex, "[SessionSource::eventLossOccurred_i] Exception raised during eventLossOccurred!");
    }
}

void SessionSource::eventLossCleared_i(const char* endTime) {
    if (get_state() != Normal)
        return;
    if (!pingMode()) {
        setEventLossCleared(true);
        return;
    }
    const nmsSession::NmsSession_I_var nms = get_nms_session();
    try {
        if (CORBA::is_nil(nms.in()))
            throw CORBA::INV_OBJREF();
        nms->eventLossCleared(endTime);
        pingSucceeded();
        setEventLossCleared(true);
    } catch (const CORBA::Exception& ex) {
        pingFailed();
        tracePoint(kSubject);
        NS_CORBA::TaException(
            ex, "[SessionSource::eventLossCleared_i] Exception raised during eventLossCleared!");
    }
}

void SessionSource::pingSucceeded() {
    const SourceLock lock(lock_);
    pingFailures_ = 0;
    pingAnswered_ = true;
}

void SessionSource::pingFailed() {
    const SourceLock lock(lock_);
    ++pingFailures_;
    pingAnswered_ = false;
}

void SessionSource::setEventLossCleared(bool cleared) {
    const SourceLock lock(lock_);
    eventLossCleared_ = cleared;
}

}  // namespace NS_KELPCORBA
