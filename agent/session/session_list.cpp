#include "session/session_list.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string_view>

#include "adapter/session_source.h"

namespace NS_KELPCORBA {
namespace {

bool belongsTo(const EmsSession_IImpl& session, const std::string& hostInfo,
               const std::string& userName) {
    const SessionSource* source = session.source();
    return source != nullptr && source->get_ip_and_port() == hostInfo &&
           source->get_user_name() == userName;
}

std::size_t clientKeyHashOf(const SessionSource* source) {
    return source == nullptr
               ? 0
               : std::hash<std::string>()(source->get_user_name() + source->get_ip_and_port());
}

bool isClientKeyOf(const SessionSource& source, std::string_view clientKey) {
    const std::string& user = source.get_user_name();
    return clientKey.starts_with(user) && clientKey.substr(user.size()) == source.get_ip_and_port();
}

}  // namespace

bool SessionList::add(EmsSession_IImpl* session) {
    const std::size_t hash = clientKeyHashOf(session->source());
    const WriteLock lock(lock_);
    if (!lock.locked() || isClosed_)
        return false;
    Listed& added = sessions_.emplace_back();
    try {
        byKey_.emplace(hash, session);
    } catch (const std::bad_alloc&) {
        sessions_.pop_back();  // listed completely or not at all
        throw;
    }
    // taken over last: nothing throws from here on
    added = {hash, Session::take(session)};
    return true;
}

int SessionList::eraseEnded(const std::list<EmsSession_IImpl*>& sessions) {
    int erased = 0;
    const WriteLock lock(lock_);
    for (const EmsSession_IImpl* session : sessions) {
        const auto found = listed(session);
        if (found == sessions_.end())
            continue;
        const SessionSource* source = session->source();
        if (source == nullptr || source->get_state() == Normal)
            continue;
        delist(found);
        ++erased;
    }
    return erased;
}

SessionList::Session SessionList::take(const std::string& hostInfo, const std::string& userName) {
    const WriteLock lock(lock_);
    const auto found = listed(hostInfo, userName);
    return found == sessions_.end() ? Session() : delist(found);
}

EmsSession_IImpl* SessionList::find(const std::string& hostInfo, const std::string& userName) {
    const WriteLock lock(lock_);
    const auto found = listed(hostInfo, userName);
    return found == sessions_.end() ? nullptr : found->session.get();
}

SessionList::Session SessionList::pin(const std::string& hostInfo, const std::string& userName) {
    const WriteLock lock(lock_);
    const auto found = listed(hostInfo, userName);
    return Session::pin(found == sessions_.end() ? nullptr : found->session.get());
}

std::vector<SessionList::Session> SessionList::pinAll() {
    std::vector<Session> pinned;
    const WriteLock lock(lock_);
    pinned.reserve(sessions_.size());
    for (const Listed& each : sessions_)
        pinned.push_back(Session::pin(each.session.get()));
    return pinned;
}

bool SessionList::pinByClientKey(const std::string& clientKey, std::vector<Session>& pinned) {
    const std::size_t hash = std::hash<std::string>()(clientKey);
    const WriteLock lock(lock_);
    if (!lock.locked())
        return false;
    const auto [first, last] = byKey_.equal_range(hash);
    for (auto each = first; each != last; ++each) {
        const SessionSource* source = each->second->source();
        if (source != nullptr && isClientKeyOf(*source, clientKey))
            pinned.push_back(Session::pin(each->second));
    }
    return true;
}

void SessionList::remove(const EmsSession_IImpl* session) {
    const WriteLock lock(lock_);
    const auto found = listed(session);
    if (found != sessions_.end())
        delist(found);
}

void SessionList::removeRefLocked(EmsSession_IImpl* session) {
    const WriteLock lock(lock_);
    session->_remove_ref();
}

void SessionList::logOutAll() {
    const WriteLock lock(lock_);
    for (Listed& each : sessions_) {
        if (each.session->source() != nullptr)
            each.session->source()->logOutOnce();
        each.session.reset();
    }
    sessions_.clear();
    byKey_.clear();
}

std::size_t SessionList::count() {
    const WriteLock lock(lock_);
    return sessions_.size();
}

bool SessionList::hasSessionOf(const std::string& userName) {
    const WriteLock lock(lock_);
    return std::any_of(sessions_.begin(), sessions_.end(), [&](const Listed& each) {
        const SessionSource* source = each.session->source();
        return source != nullptr && source->get_user_name() == userName;
    });
}

bool SessionList::closeIfEmpty() {
    const WriteLock lock(lock_);
    isClosed_ = sessions_.empty();
    return isClosed_;
}

void SessionList::reopen() {
    const WriteLock lock(lock_);
    isClosed_ = false;
}

SessionList::Sessions::iterator SessionList::listed(const std::string& hostInfo,
                                                    const std::string& userName) {
    const std::size_t hash = std::hash<std::string>()(userName + hostInfo);
    if (!byKey_.contains(hash))
        return sessions_.end();
    return std::find_if(sessions_.begin(), sessions_.end(), [&](const Listed& each) {
        return each.clientKeyHash == hash && belongsTo(*each.session, hostInfo, userName);
    });
}

SessionList::Sessions::iterator SessionList::listed(const EmsSession_IImpl* session) {
    return std::find_if(sessions_.begin(), sessions_.end(),
                        [session](const Listed& each) { return each.session.get() == session; });
}

SessionList::Session SessionList::delist(Sessions::iterator found) {
    const auto [first, last] = byKey_.equal_range(found->clientKeyHash);
    const auto indexed = std::find_if(
        first, last, [&](const auto& each) { return each.second == found->session.get(); });
    if (indexed != last)
        byKey_.erase(indexed);
    Session session = std::move(found->session);
    sessions_.erase(found);
    return session;
}

}  // namespace NS_KELPCORBA
