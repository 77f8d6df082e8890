// The check of one session in a round: tear-down, report of an event loss, ping.

#include "adapter/session_check.h"

#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>

#include "adapter/session_source.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionsource";
/// A session with more failed pings than this at the start of a check is over, or waits silently.
constexpr std::int32_t kMostFailedPings = 3;

bool pingMode() {
    return NS_CORBA::CorbaBaseAgentConfig::Instance()->GetEmsPingMode();
}

bool callIsLife() {
    return NS_CORBA::CorbaBaseAgentConfig::Instance()->CallIsLife();
}

/// Text of the exception being handled, for messages.
std::string currentText() {
    try {
        throw;
    } catch (const CORBA::Exception& ex) {
        return kelp::orb::exceptionText(ex);
    } catch (const std::exception& ex) {
        return ex.what();
    } catch (...) {
        return "unknown exception";
    }
}

}  // namespace

// -- the check

void SessionCheck::begin(bool silentMode) {
    hasCalled_ = source_.takeCalled() && callIsLife();
    if (hasCalled_)
        source_.pingSucceeded();
    switch (source_.judge(silentMode)) {
        case SessionSource::Verdict::TellAndTearDown:
            isOver_ = true;
            call_ = Call::EndSession;
            return;
        case SessionSource::Verdict::TearDown:
            isOver_ = true;
            return;
        case SessionSource::Verdict::GoOn:
            break;
    }
    if (source_.get_event_loss_cleared() != loss_.cleared)
        relayLoss();
    else if (pingMode())
        call_ = Call::Ping;
}

void SessionCheck::relayLoss() {
    if (source_.get_state() != Normal)
        return;
    if (pingMode())
        call_ = loss_.cleared ? Call::LossCleared : Call::LossOccurred;
    else
        isRecordedUntold_ = true;
}

void SessionCheck::call() noexcept {
    if (call_ == Call::None)
        return;
    const auto begun = std::chrono::steady_clock::now();
    try {
        makeCall();
    } catch (...) {  // conclude() traces it
        failure_ = std::current_exception();
    }
    duration_ = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - begun);
}

void SessionCheck::makeCall() const {
    const nmsSession::NmsSession_I_var nms = source_.get_nms_session();
    if (CORBA::is_nil(nms.in())) {
        if (call_ == Call::EndSession)
            return;
        throw CORBA::INV_OBJREF();
    }
    switch (call_) {
        case Call::None:
            return;
        case Call::EndSession:
            return nms->endSession();
        case Call::Ping:
            return nms->ping();
        case Call::LossOccurred:
            return nms->eventLossOccurred(loss_.time, loss_.notificationId);
        case Call::LossCleared:
            return nms->eventLossCleared(loss_.time);
    }
}

int SessionCheck::conclude() {
    if (call_ != Call::None)
        source_.life().pinged(duration_, failureText());
    switch (call_) {
        case Call::None:
            break;
        case Call::EndSession:
            concludeEnd();
            break;
        case Call::Ping:
            concludePing();
            break;
        case Call::LossOccurred:
        case Call::LossCleared:
            concludeRelay();
            break;
    }
    if (isRecordedUntold_)
        source_.setEventLossCleared(loss_.cleared);
    return isOver_ ? source_.tearDown() : 0;
}

void SessionCheck::requireAnswer() const {
    if (failure_)
        std::rethrow_exception(failure_);
}

std::string SessionCheck::failureText() const {
    try {
        requireAnswer();
        return {};
    } catch (...) {
        return currentText();
    }
}

void SessionCheck::concludeEnd() const {
    try {
        requireAnswer();
    } catch (...) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionSource::check_valid]Exception raised during endSession,user<%s>,ip<%s>.==>%s",
            source_.get_user_name().c_str(), source_.get_ip_and_port().c_str(),
            currentText().c_str());
    }
}

void SessionCheck::concludePing() {
    try {
        requireAnswer();
        source_.pingSucceeded();
    } catch (...) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionSource::check_valid] Exception raised during PING "
            "operation,user<%s>,ip<%s>.==>%s",
            source_.get_user_name().c_str(), source_.get_ip_and_port().c_str(),
            currentText().c_str());
        source_.pingFailed(hasCalled_);
    }
}

void SessionCheck::concludeRelay() {
    const char* const text =
        loss_.cleared
            ? "[SessionSource::eventLossCleared_i] Exception raised during eventLossCleared!"
            : "[SessionSource::eventLossOccurred_i] Exception raised during eventLossOccurred!";
    try {
        requireAnswer();
        source_.pingSucceeded();
        source_.setEventLossCleared(loss_.cleared);
    } catch (const CORBA::Exception& ex) {
        source_.pingFailed(hasCalled_);
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, text);
    } catch (...) {
        source_.pingFailed(hasCalled_);
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("%s %s", text, currentText().c_str());
    }
}

// -- the source

int SessionSource::check_valid(bool eventLossClearedNow, const char* time,
                               const char* notificationId, bool silentMode) {
    SessionCheck check(*this, {eventLossClearedNow, time, notificationId});
    check.begin(silentMode);
    check.call();
    return check.conclude();
}

void SessionSource::eventLossOccurred_i(const char* startTime, const char* notificationId) {
    SessionCheck relay(*this, {false, startTime, notificationId});
    relay.relayLoss();
    relay.call();
    relay.conclude();
}

void SessionSource::eventLossCleared_i(const char* endTime) {
    SessionCheck relay(*this, {true, endTime, ""});
    relay.relayLoss();
    relay.call();
    relay.conclude();
}

SessionSource::Verdict SessionSource::judge(bool silentMode) {
    const WriteLock lock(lock_);
    if (pingFailures_ > kMostFailedPings) {
        if (!silentMode) {
            state_ = Invalid;
            life_.endFor(EndReason::Dead, "EMS");
            return Verdict::TearDown;
        }
        if (state_ != Ended && state_ != SilentWaiting) {
            // deliberately also from EmsExiting and the otherwise final Invalid: in silent mode the
            // session waits for its NMS
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

int SessionSource::tearDown() {
    const PortableServer::POA_var poa = get_POA();
    if (CORBA::is_nil(poa.in()))
        return -1;
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[SessionSource::check_valid]Detect nmsSession failed or ems wants exit, now EMS will "
        "destroy "
        "associated "
        "emsSession resource,user<%s>,ip<%s>.",
        userName_.c_str(), ipAndPort_.c_str());
    try {
        destroyAdapters(poa.in());
    } catch (...) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionSource::check_valid]Exception raised during destroy session "
            "resource,user<%s>,ip<%s>.==>%s",
            userName_.c_str(), ipAndPort_.c_str(), currentText().c_str());
    }
    // also when the tree was already destroyed: the user is still logged in
    logOutOnce();
    return -1;
}

void SessionSource::pingSucceeded() {
    const WriteLock lock(lock_);
    pingFailures_ = 0;
    pingAnswered_ = true;
}

void SessionSource::pingFailed(bool isAliveOtherwise) {
    if (isAliveOtherwise || (isCalled_ && callIsLife())) {
        pingSucceeded();
        return;
    }
    const WriteLock lock(lock_);
    ++pingFailures_;
    pingAnswered_ = false;
}

void SessionSource::setEventLossCleared(bool cleared) {
    const WriteLock lock(lock_);
    eventLossCleared_ = cleared;
}

}  // namespace NS_KELPCORBA
