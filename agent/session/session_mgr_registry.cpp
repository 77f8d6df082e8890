// The session manager's operations on what it registers. Each only passes the call on.

#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/trace.h>

#include "iterator/iterator_list.h"
#include "iterator/iterator_opening.h"
#include "session/ems_session_impl.h"
#include "session/event_loss_state.h"
#include "session/manager_servants.h"
#include "session/session_list.h"
#include "session/silence_watch.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";

}  // namespace

// -- sessions

int SessionMgr::add_emsSession(EmsSession_IImpl* session) {
    const bool isAdded = sessions_->add(session);
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(isAdded ? "[SessionMgr::add_emsSession] Add new session successfully!"
                              : "[SessionMgr::add_emsSession] Add new session failed!");
    return isAdded ? 0 : -1;
}

int SessionMgr::EraseSessions(const std::list<EmsSession_IImpl*>& sessions) {
    return sessions_->eraseEnded(sessions);
}

EmsSession_IImpl* SessionMgr::GetNmsSession(const std::string& hostInfo,
                                            const std::string& userName) {
    return sessions_->take(hostInfo, userName).release();
}

EmsSession_IImpl* SessionMgr::GetNmsSessionByNmsInfo(const std::string& hostInfo,
                                                     const std::string& userName) {
    return sessions_->find(hostInfo, userName);
}

ServantRef<EmsSession_IImpl> SessionMgr::PinNmsSession(const std::string& hostInfo,
                                                       const std::string& userName) {
    return sessions_->pin(hostInfo, userName);
}

std::vector<ServantRef<EmsSession_IImpl>> SessionMgr::PinSessions() {
    return sessions_->pinAll();
}

bool SessionMgr::PinSessionsByClientKey(const std::string& clientKey,
                                        std::vector<ServantRef<EmsSession_IImpl>>& sessions) {
    return sessions_->pinByClientKey(clientKey, sessions);
}

void SessionMgr::Unlist(EmsSession_IImpl* session) {
    sessions_->remove(session);
}

void SessionMgr::RemoveRefLocked(EmsSession_IImpl* session) {
    sessions_->removeRefLocked(session);
}

std::size_t SessionMgr::SessionCount() {
    return sessions_->count();
}

bool SessionMgr::isAdminAlreadyLoginIn(const std::string& userName) {
    return sessions_->hasSessionOf(userName);
}

SessionSource* SessionMgr::GetSessionSource(EmsSession_IImpl* session) {
    return session == nullptr ? nullptr : session->source();
}

// -- waiting threads

bool SessionMgr::SpawnWaiting(EmsSession_IImpl* session, ACE_THR_FUNC body) {
    return silenceWatch_->spawn(session, body);
}

void SessionMgr::LeaveWaiting(EmsSession_IImpl* session) {
    silenceWatch_->leave(session);
}

bool SessionMgr::IsAnybodyWaiting() const {
    return silenceWatch_->isAny();
}

void SessionMgr::WakeAllWaiting() {
    std::vector<ServantRef<EmsSession_IImpl>> sessions = sessions_->pinAll();
    silenceWatch_->pinAll(sessions);
    for (const ServantRef<EmsSession_IImpl>& session : sessions)
        session->wakePoint().wake();
}

ACE_Thread_Manager& SessionMgr::WaitingThreads() {
    return silenceWatch_->threads();
}

// -- manager servants

void SessionMgr::RegisterServant(const std::string& name, POA_common::Common_I* servant) {
    servants_->replace(name, servant);
}

POA_common::Common_I* SessionMgr::find_servant(const char* name) {
    return name == nullptr ? nullptr : servants_->find(name);
}

POA_common::Common_I* SessionMgr::pin_servant(std::string_view name) {
    return servants_->pin(name).release();
}

// -- iterators

unsigned long SessionMgr::add_iterator(PortableServer::ServantBase* iterator) {
    CORBA::Object_var reference;
    return add_iterator(iterator, reference);
}

unsigned long SessionMgr::add_iterator(PortableServer::ServantBase* iterator,
                                       CORBA::Object_var& reference) {
    return openIterator(*iterators_, iterator, reference);
}

int SessionMgr::remove_iterator(PortableServer::ServantBase* iterator) {
    return iterators_->remove(iterator) == IteratorList::Removal::LockFailed ? -1 : 0;
}

std::size_t SessionMgr::IteratorCount() {
    return iterators_->count();
}

std::size_t SessionMgr::IteratorCountOf(const std::string& sessionName) {
    return iterators_->countOf(sessionName);
}

// -- event loss

void SessionMgr::NotifyEventLossOccurred(const std::string& startTime,
                                         const std::string& notificationId) {
    eventLoss_->setOccurred(startTime, notificationId);
}

void SessionMgr::NotifyEventLossCleared(const std::string& endTime) {
    eventLoss_->setCleared(endTime);
}

EventLoss SessionMgr::CurrentEventLoss() const {
    return eventLoss_->current();
}

}  // namespace NS_KELPCORBA
