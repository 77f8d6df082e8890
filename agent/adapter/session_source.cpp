#include "adapter/session_source.h"

#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/session_callers.h>

#include <algorithm>
#include <exception>
#include <new>

#include "adapter/claimed_poa_names.h"

namespace NS_KELPCORBA {

std::string sessionNameText(const std::string& userName, const std::string& ipAndPort) {
    std::string name;
    name.reserve(userName.size() + ipAndPort.size() + 60);
    name += "<USERNAME_TAG>";
    name += userName;
    name += "</USERNAME_TAG><IPANDPORT_TAG>";
    name += ipAndPort;
    name += "</IPANDPORT_TAG>";
    return name;
}

SessionSource* SessionSource::create(const std::string& ipAndPort, const std::string& userName,
                                     nmsSession::NmsSession_I_ptr nmsSession) {
    try {
        return new (std::nothrow) SessionSource(ipAndPort, userName, nmsSession);
    } catch (const std::exception&) {  // no memory for its texts, or no random token
        return nullptr;
    }
}

SessionSource::SessionSource(const std::string& ipAndPort, const std::string& userName,
                             nmsSession::NmsSession_I_ptr nmsSession)
    : ipAndPort_(ipAndPort),
      userName_(userName),
      sessionName_(sessionNameText(userName, ipAndPort)),
      life_(userName, ipAndPort),
      nmsSession_(nmsSession::NmsSession_I::_duplicate(nmsSession)) {}

SessionSource::~SessionSource() {
    giveUpName();
}

bool SessionSource::claimName() {
    if (!ClaimedPoaNames::claim(sessionName_, this))
        return false;
    NS_CORBA::SessionCallers::Instance().Enter(sessionName_, this, token_,
                                               kelp::orb::currentPeer());
    return true;
}

void SessionSource::giveUpName() {
    if (const std::uint64_t total = calls().total; total > 0)
        callsAtEnd_ = total;
    // in this order: as soon as the name is free another session may register its callers under it
    NS_CORBA::SessionCallers::Instance().Leave(sessionName_, this);
    ClaimedPoaNames::giveUp(sessionName_, this);
}

PortableServer::POA_ptr SessionSource::get_POA() const {
    const WriteLock lock(lock_);
    return PortableServer::POA::_duplicate(servantPoa_.in());
}

nmsSession::NmsSession_I_ptr SessionSource::get_nms_session() const {
    const WriteLock lock(lock_);
    return nmsSession::NmsSession_I::_duplicate(nmsSession_.in());
}

void SessionSource::set_nms_session(nmsSession::NmsSession_I_ptr nmsSession) {
    const WriteLock lock(lock_);
    nmsSession_ = nmsSession::NmsSession_I::_duplicate(nmsSession);
    state_ = Normal;
    pingFailures_ = 0;
}

std::int32_t SessionSource::get_state() const {
    const WriteLock lock(lock_);
    return state_;
}

void SessionSource::set_state(std::int32_t state) {
    const WriteLock lock(lock_);
    if (state_ != Invalid)
        state_ = state;
}

bool SessionSource::change_state(std::int32_t from, std::int32_t to) {
    const WriteLock lock(lock_);
    if (state_ != from)
        return false;
    state_ = to;
    return true;
}

bool SessionSource::endFrom(std::int32_t from, EndReason reason, const std::string& by) {
    const WriteLock lock(lock_);
    if (state_ != from)
        return false;
    state_ = Ended;
    life_.endFor(reason, by);
    return true;
}

bool SessionSource::reuse(nmsSession::NmsSession_I_ptr nmsSession, bool& waitedSilently) {
    const WriteLock lock(lock_);
    if (state_ != Normal && state_ != SilentWaiting)
        return false;
    waitedSilently = state_ == SilentWaiting;
    nmsSession_ = nmsSession::NmsSession_I::_duplicate(nmsSession);
    state_ = Normal;
    pingFailures_ = 0;
    NS_CORBA::SessionCallers::Instance().Move(sessionName_, this, kelp::orb::currentPeer());
    return true;
}

std::int32_t SessionSource::get_ping_failures() const {
    const WriteLock lock(lock_);
    return pingFailures_;
}

bool SessionSource::get_ping_answered() const {
    const WriteLock lock(lock_);
    return pingAnswered_;
}

bool SessionSource::get_event_loss_cleared() const {
    const WriteLock lock(lock_);
    return eventLossCleared_;
}

bool SessionSource::get_silent_waiting() const {
    const WriteLock lock(lock_);
    return silentWaiting_;
}

void SessionSource::set_silent_waiting() {
    const WriteLock lock(lock_);
    silentWaiting_ = true;
    ++silentWaitingNumber_;
}

void SessionSource::clear_silent_waiting() {
    const WriteLock lock(lock_);
    silentWaiting_ = false;
}

std::uint32_t SessionSource::silent_waiting_number() const {
    const WriteLock lock(lock_);
    return silentWaitingNumber_;
}

bool SessionSource::is_waiting_silently(std::uint32_t number) const {
    const WriteLock lock(lock_);
    return state_ == SilentWaiting && silentWaitingNumber_ == number;
}

void SessionSource::leave_silent_waiting(std::uint32_t number) {
    const WriteLock lock(lock_);
    if (silentWaitingNumber_ == number)
        silentWaiting_ = false;
}

void SessionSource::logOutOnce() {
    if (loggedOut_.exchange(true))
        return;
    NS_CORBA::CorbaSecurityMgr::Instance()->Logout(ipAndPort_, userName_);
    life_.leave(std::max(callsAtEnd_.load(), calls().total));
}

NS_CORBA::CallFigures SessionSource::calls() const {
    return NS_CORBA::SessionCallers::Instance().CallsOf(sessionName_, this);
}

}  // namespace NS_KELPCORBA
