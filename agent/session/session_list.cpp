// The session manager's list of sessions, and its waiting threads.

#include <ace/Guard_T.h>
#include <kelp/agent/session_mgr.h>

#include <algorithm>
#include <functional>
#include <new>
#include <string_view>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "util/servant_ref.h"
#include "util/trace_point.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";

// Always a write lock, also for reads, so all look-ups of sessions are serialised. When the lock
// cannot be taken errno is set and the look-up goes on without it.
using SessionLock = ACE_Write_Guard<ACE_RW_Mutex>;

bool belongsTo(const EmsSession_IImpl* session, const std::string& hostInfo,
               const std::string& userName) {
    const SessionSource* source = session->source();
    return source != nullptr && source->get_ip_and_port() == hostInfo &&
           source->get_user_name() == userName;
}

std::string clientKeyOf(const SessionSource& source) {
    return source.get_user_name() + source.get_ip_and_port();
}

bool isClientKeyOf(const SessionSource& source, std::string_view clientKey) {
    const std::string& user = source.get_user_name();
    return clientKey.starts_with(user) && clientKey.substr(user.size()) == source.get_ip_and_port();
}

}  // namespace

SessionMgr::ListedSessions::iterator SessionMgr::FindListed(const std::string& hostInfo,
                                                            const std::string& userName) {
    const std::size_t hash = std::hash<std::string>()(userName + hostInfo);
    if (!sessionsByKey_.contains(hash))
        return sessions_.end();
    return std::find_if(sessions_.begin(), sessions_.end(), [&](const ListedSession& each) {
        return each.clientKeyHash == hash && belongsTo(each.session, hostInfo, userName);
    });
}

SessionMgr::ListedSessions::iterator SessionMgr::FindListed(const EmsSession_IImpl* session) {
    return std::find_if(sessions_.begin(), sessions_.end(),
                        [session](const ListedSession& each) { return each.session == session; });
}

void SessionMgr::Delist(ListedSessions::iterator listed) {
    const auto [first, last] = sessionsByKey_.equal_range(listed->clientKeyHash);
    const auto indexed =
        std::find_if(first, last, [&](const auto& each) { return each.second == listed->session; });
    if (indexed != last)
        sessionsByKey_.erase(indexed);
    sessions_.erase(listed);
}

int SessionMgr::add_emsSession(EmsSession_IImpl* session) {
    const SessionSource* source = session->source();
    const std::size_t hash = source == nullptr ? 0 : std::hash<std::string>()(clientKeyOf(*source));
    {
        const SessionLock lock(sessionLock_);
        if (lock.locked() && !isClosed_) {
            sessions_.push_back({hash, session});
            try {
                sessionsByKey_.emplace(hash, session);
            } catch (const std::bad_alloc&) {
                sessions_.pop_back();  // listed completely or not at all
                throw;
            }
        } else {
            tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::add_emsSession] Add new session failed!");
            return -1;
        }
    }
    tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::add_emsSession] Add new session successfully!");
    return 0;
}

int SessionMgr::EraseSessions(const std::list<EmsSession_IImpl*>& sessions) {
    int erased = 0;
    const SessionLock lock(sessionLock_);
    for (EmsSession_IImpl* session : sessions) {
        const auto found = FindListed(session);
        if (found == sessions_.end())
            continue;
        const SessionSource* source = session->source();
        if (source == nullptr || source->get_state() == Normal)
            continue;
        Delist(found);
        session->_remove_ref();
        ++erased;
    }
    return erased;
}

EmsSession_IImpl* SessionMgr::GetNmsSession(const std::string& hostInfo,
                                            const std::string& userName) {
    const SessionLock lock(sessionLock_);
    const auto found = FindListed(hostInfo, userName);
    if (found == sessions_.end())
        return nullptr;
    EmsSession_IImpl* session = found->session;
    Delist(found);
    return session;
}

EmsSession_IImpl* SessionMgr::GetNmsSessionByNmsInfo(const std::string& hostInfo,
                                                     const std::string& userName) {
    const SessionLock lock(sessionLock_);
    const auto found = FindListed(hostInfo, userName);
    return found == sessions_.end() ? nullptr : found->session;
}

ServantRef<EmsSession_IImpl> SessionMgr::PinNmsSession(const std::string& hostInfo,
                                                       const std::string& userName) {
    const SessionLock lock(sessionLock_);
    const auto found = FindListed(hostInfo, userName);
    return ServantRef<EmsSession_IImpl>::pin(found == sessions_.end() ? nullptr : found->session);
}

std::vector<ServantRef<EmsSession_IImpl>> SessionMgr::PinSessions() {
    std::vector<ServantRef<EmsSession_IImpl>> pinned;
    const SessionLock lock(sessionLock_);
    pinned.reserve(sessions_.size());
    for (const ListedSession& each : sessions_)
        pinned.push_back(ServantRef<EmsSession_IImpl>::pin(each.session));
    return pinned;
}

bool SessionMgr::PinSessionsByClientKey(const std::string& clientKey,
                                        std::vector<ServantRef<EmsSession_IImpl>>& sessions) {
    const std::size_t hash = std::hash<std::string>()(clientKey);
    const SessionLock lock(sessionLock_);
    if (!lock.locked())
        return false;
    const auto [first, last] = sessionsByKey_.equal_range(hash);
    for (auto each = first; each != last; ++each) {
        const SessionSource* source = each->second->source();
        if (source != nullptr && isClientKeyOf(*source, clientKey))
            sessions.push_back(ServantRef<EmsSession_IImpl>::pin(each->second));
    }
    return true;
}

void SessionMgr::Unlist(EmsSession_IImpl* session) {
    const SessionLock lock(sessionLock_);
    const auto found = FindListed(session);
    if (found == sessions_.end())
        return;
    Delist(found);
    session->_remove_ref();
}

void SessionMgr::RemoveRefLocked(EmsSession_IImpl* session) {
    const SessionLock lock(sessionLock_);
    session->_remove_ref();
}

bool SessionMgr::CloseIfEmpty() {
    const SessionLock lock(sessionLock_);
    isClosed_ = sessions_.empty();
    return isClosed_;
}

std::size_t SessionMgr::SessionCount() {
    const SessionLock lock(sessionLock_);
    return sessions_.size();
}

bool SessionMgr::isAdminAlreadyLoginIn(const std::string& userName) {
    const SessionLock lock(sessionLock_);
    return std::any_of(sessions_.begin(), sessions_.end(), [&](const ListedSession& each) {
        const SessionSource* source = each.session->source();
        return source != nullptr && source->get_user_name() == userName;
    });
}

SessionSource* SessionMgr::GetSessionSource(EmsSession_IImpl* session) {
    return session == nullptr ? nullptr : session->source();
}

void SessionMgr::LogOutEverybody() {
    const SessionLock lock(sessionLock_);
    for (const ListedSession& each : sessions_) {
        if (each.session->source() != nullptr)
            each.session->source()->logOutOnce();
        // the list's reference; while it exists the servant is never destroyed
        each.session->_remove_ref();
    }
    sessions_.clear();
    sessionsByKey_.clear();
}

// -- waiting threads

namespace {

/// Start a thread. Return false when it cannot be created or there is no memory for it.
bool spawn(ACE_Thread_Manager& threads, ACE_THR_FUNC body, void* argument, ACE_thread_t& thread) {
    try {
        return threads.spawn(body, argument, THR_NEW_LWP | THR_DETACHED, &thread) != -1;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

bool SessionMgr::SpawnWaiting(EmsSession_IImpl* session, ACE_THR_FUNC body) {
    {
        const SessionLock lock(sessionLock_);
        waiting_.insert(session);
        session->_add_ref();
        waitingCount_ = waiting_.size();
    }
    ACE_thread_t thread = 0;
    if (!spawn(waitingThreads_, body, session, thread)) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionMgr::SpawnWaiting] The thread that waits for the NMS could not be made!");
        LeaveWaiting(session);
        return false;
    }
    session->setWaitingThread(static_cast<std::uint32_t>(thread));
    return true;
}

void SessionMgr::LeaveWaiting(EmsSession_IImpl* session) {
    const SessionLock lock(sessionLock_);
    const auto found = waiting_.find(session);
    if (found != waiting_.end())
        waiting_.erase(found);
    waitingCount_ = waiting_.size();
    session->_remove_ref();
}

void SessionMgr::WakeAllWaiting() {
    std::vector<ServantRef<EmsSession_IImpl>> sessions = PinSessions();
    {
        const SessionLock lock(sessionLock_);
        for (EmsSession_IImpl* session : waiting_)
            sessions.push_back(ServantRef<EmsSession_IImpl>::pin(session));
    }
    for (const ServantRef<EmsSession_IImpl>& session : sessions)
        session->wakePoint().wake();
}

}  // namespace NS_KELPCORBA
