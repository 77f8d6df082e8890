#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include "session/ems_session_impl.h"
#include "util/servant_ref.h"
#include "util/write_lock.h"

namespace NS_KELPCORBA {

/// The listed sessions in log-in order. Owns one reference on each. Finding the sessions of one NMS
/// and user takes the same time for any number of sessions.
///
/// Any thread may call it. One lock guards everything. It is always taken for writing, also for
/// reads, so all look-ups are serialised. When the lock cannot be taken errno is set. Look-ups then
/// go on without it.
class SessionList {
  public:
    using Session = ServantRef<EmsSession_IImpl>;

    /// Append a session and take over one reference. Return false when the lock failed or the list
    /// is closed. The caller then keeps the reference, and also when std::bad_alloc is thrown.
    bool add(EmsSession_IImpl* session);
    /// Remove the sessions that are listed and no longer Normal, and drop their references. Return
    /// their number.
    int eraseEnded(const std::list<EmsSession_IImpl*>& sessions);
    /// Remove the oldest session of this NMS and user and return it. Null when there is none.
    Session take(const std::string& hostInfo, const std::string& userName);
    /// Return the oldest session of this NMS and user, borrowed. Null when there is none.
    EmsSession_IImpl* find(const std::string& hostInfo, const std::string& userName);
    /// The same, pinned under the lock.
    Session pin(const std::string& hostInfo, const std::string& userName);
    /// Return every session, oldest first, pinned under the lock.
    std::vector<Session> pinAll();
    /// Append the sessions whose user name followed by host info equals `clientKey`, pinned. Return
    /// false when the lock failed.
    bool pinByClientKey(const std::string& clientKey, std::vector<Session>& pinned);
    /// Remove the session and drop the list's reference, if it is listed.
    void remove(const EmsSession_IImpl* session);
    /// Drop a reference of the caller's under the lock.
    void removeRefLocked(EmsSession_IImpl* session);
    /// Log every user out who is still logged in, and remove all sessions.
    void logOutAll();

    std::size_t count();
    bool hasSessionOf(const std::string& userName);

    /// Close the list if it is empty: none can be added from then on. Return whether it is closed.
    bool closeIfEmpty();
    void reopen();

  private:
    /// A session with the hash of its user name followed by its host info. The hash is 0 for a
    /// session without a source.
    struct Listed {
        std::size_t clientKeyHash = 0;
        Session session{};
    };
    using Sessions = std::vector<Listed>;

    Sessions::iterator listed(const std::string& hostInfo, const std::string& userName)
        KELP_REQUIRES(lock_);
    Sessions::iterator listed(const EmsSession_IImpl* session) KELP_REQUIRES(lock_);
    /// Remove a session from the list and its index, and return it.
    Session delist(Sessions::iterator found) KELP_REQUIRES(lock_);

    WriteMutex lock_{kelp::util::LockRank::SessionList, "SessionList::lock_"};
    Sessions sessions_ KELP_GUARDED_BY(lock_);  ///< oldest first
    /// By clientKeyHash.
    std::unordered_multimap<std::size_t, EmsSession_IImpl*> byKey_ KELP_GUARDED_BY(lock_);
    bool isClosed_ KELP_GUARDED_BY(lock_) = false;
};

}  // namespace NS_KELPCORBA
