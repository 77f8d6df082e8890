#pragma once

#include <ace/Event.h>
#include <ace/RW_Thread_Mutex.h>
#include <ace/Semaphore.h>
#include <ace/Task.h>
#include <ace/Thread_Manager.h>
#include <ace/Thread_Mutex.h>
#include <kelp/agent/open_iterators.h>
#include <kelp/bundlemgr/light_event.h>
#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace POA_common {
class Common_I;
}

namespace NS_KELPCORBA {

class CorbaAgentConfig;
class EmsSession_IImpl;
class SessionSource;
template <class S>
class ServantRef;

/// Ends the session of a user whose account became invalid (light event 119).
class BaseSSHandler : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    void DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) override;
};

/// The process-wide registry of what belongs to logged-in NMS: sessions in login order, iterators
/// in order of creation, manager servants by name. Its service thread checks every session once an
/// interval and erases what is over; the NMS are called on threads that live as long as a round.
///
/// Threads: any. Locks: the session lock guards the session list and the waiting sessions, the
/// iterator lock the iterator list, the servant lock the servant map, the event-loss lock the three
/// event-loss values; no two are held together, and no NMS is called under any of them. The
/// factory's login lock comes before the session lock, the session lock before a session source's
/// own.
class SessionMgr : public ACE_Task_Base {
  public:
    KELP_EXPORT static SessionMgr* Instance();
    /// The instance if there is one; for callers that may come after Destroy.
    static SessionMgr* Existing();
    /// Ends what Init made: releases servants and sessions, logs out who is still logged in.
    static void Destroy();

    /// Takes the managers of the base configuration and starts the ping thread. 0 or -1.
    int Init();
    int open(void* args = nullptr) override;
    int close(unsigned long flags = 0) override;
    /// The ping loop.
    int svc() override;
    /// Ends every session (its NMS is told) and the ping thread; returns when it has ended.
    int ExitThread();

    // -- sessions
    /// Takes over one reference. 0, or -1 when the session lock failed or the ping thread has
    /// ended, which would tell the NMS of its session's end; the reference is the caller's then.
    /// Throws std::bad_alloc likewise.
    int add_emsSession(EmsSession_IImpl* session);
    /// Drops those of `sessions` that are listed and no longer Normal; how many were dropped.
    int EraseSessions(const std::list<EmsSession_IImpl*>& sessions);
    /// Takes the first session of this NMS and user out of the list and hands its reference to the
    /// caller, who must
    /// `_remove_ref` it. Null when there is none.
    EmsSession_IImpl* GetNmsSession(const std::string& hostInfo, const std::string& userName);
    /// The first session of this NMS and user, which stays listed; borrowed. Null when there is
    /// none.
    EmsSession_IImpl* GetNmsSessionByNmsInfo(const std::string& hostInfo,
                                             const std::string& userName);
    /// The same with a reference taken under the session lock.
    ServantRef<EmsSession_IImpl> PinNmsSession(const std::string& hostInfo,
                                               const std::string& userName);
    /// Every listed session, oldest first, each pinned under the lock.
    std::vector<ServantRef<EmsSession_IImpl>> PinSessions();
    /// The listed sessions whose user name followed by host info equals `clientKey`, pinned. False
    /// when the lock failed.
    bool PinSessionsByClientKey(const std::string& clientKey,
                                std::vector<ServantRef<EmsSession_IImpl>>& sessions);
    /// Takes the session out of the list if it is there and drops the list's reference.
    void Unlist(EmsSession_IImpl* session);
    /// Drops one reference of a session under the session lock.
    void RemoveRefLocked(EmsSession_IImpl* session);
    std::size_t SessionCount();
    KELP_EXPORT bool isAdminAlreadyLoginIn(const std::string& userName);
    SessionSource* GetSessionSource(EmsSession_IImpl* session);

    // -- waiting threads (release strategy 2)
    /// Starts `body(session)` on the waiting-thread manager; the thread owns a reference on its
    /// session and is known here until LeaveWaiting. False when the thread could not be made.
    bool SpawnWaiting(EmsSession_IImpl* session, ACE_THR_FUNC body);
    void LeaveWaiting(EmsSession_IImpl* session);
    /// True from SpawnWaiting until LeaveWaiting of any session, listed or not. Takes no lock.
    bool IsAnybodyWaiting() const { return waitingCount_ != 0; }
    /// Wakes every waiting thread, of listed and of unlisted sessions.
    void WakeAllWaiting();
    ACE_Thread_Manager& WaitingThreads() { return waitingThreads_; }

    // -- manager servants
    /// Takes a reference on the servant; one already there under the name is replaced and released.
    void RegisterServant(const std::string& name, POA_common::Common_I* servant);
    /// Exact, case-sensitive; borrowed. Null for an unknown or null name.
    POA_common::Common_I* find_servant(const char* name);
    /// find_servant with a reference taken under the servant lock, which the caller must
    /// `_remove_ref`.
    POA_common::Common_I* pin_servant(std::string_view name);

    // -- iterators
    /// Activates a new iterator in its `_default_POA` and lists it; the oldest one is closed when
    /// more than `IteratorRestriction()` are open, and before that the oldest of the same session
    /// when that has `IteratorsPerSession()` already. 0: the caller's reference is taken over.
    /// Otherwise an error code (the iterator is as before, the caller's): 0x41180102 when
    /// `IteratorNum()` are open, 0x411800BA when it cannot be activated or its POA dies meanwhile,
    /// 0x411800BE when the iterator lock failed.
    unsigned long add_iterator(PortableServer::ServantBase* iterator);
    /// The same, with the iterator's reference: a later look for it could find it closed already,
    /// for others. Nil when it is not opened.
    unsigned long add_iterator(PortableServer::ServantBase* iterator, CORBA::Object_var& reference);
    /// Takes an iterator out and drops the list's reference; one that is not listed is ignored. 0
    /// or -1.
    int remove_iterator(PortableServer::ServantBase* iterator);
    std::size_t IteratorCount();

    // -- the request in hand
    /// The tagged session name of the request being served, or an empty text.
    KELP_EXPORT std::string GetNmsIPAddrByContext();
    KELP_EXPORT int GetUserIDByContext();

    // -- event loss, told to every NMS on the next ping round
    KELP_EXPORT void NotifyEventLossOccurred(const std::string& startTime,
                                             const std::string& notificationId);
    KELP_EXPORT void NotifyEventLossCleared(const std::string& endTime);

    SessionMgr(const SessionMgr&) = delete;
    SessionMgr& operator=(const SessionMgr&) = delete;

  private:
    /// A session in the list, with the hash of its user name followed by its host info; 0 for a
    /// session without a source.
    struct ListedSession {
        std::size_t clientKeyHash;
        EmsSession_IImpl* session;
    };
    using ListedSessions = std::vector<ListedSession>;

    struct EventLoss {
        std::int32_t cleared = 1;
        std::string text1;
        std::string text2;
    };

    SessionMgr();
    ~SessionMgr() override;

    ListedSessions::iterator FindListed(const std::string& hostInfo, const std::string& userName);
    ListedSessions::iterator FindListed(const EmsSession_IImpl* session);
    /// Takes a session out of the list and its index; the list's reference is the caller's then.
    void Delist(ListedSessions::iterator listed);
    /// Iterators that have left the list and are to be closed without a lock.
    using Evicted = std::vector<PortableServer::ServantBase*>;
    unsigned long ReserveIteratorPlace(const std::string& session, Evicted& evicted);
    void GiveIteratorPlaceBack(const std::string& session);
    unsigned long ActivateAndList(PortableServer::ServantBase* iterator, const std::string& session,
                                  CORBA::Object_var& reference, Evicted& evicted);
    unsigned long ListActivated(PortableServer::ServantBase* iterator, const std::string& session,
                                PortableServer::POA_ptr poa, const PortableServer::ObjectId& id,
                                Evicted& evicted);
    /// remove_iterator(), telling besides whether it was there. False when the lock failed.
    bool TakeOutIterator(PortableServer::ServantBase* iterator, bool& wasListed);
    void TakeOverServant(const std::string& name, POA_common::Common_I* servant);
    void ReleaseServants();
    void LogOutEverybody();
    void DeregisterUserStateHandler();
    void SetCallTimeouts();
    /// True when no session is listed; from then on none can be.
    bool CloseIfEmpty();
    void SleepUntil(std::chrono::steady_clock::time_point roundDue);
    void RunRound();
    struct RoundEntry;
    void BeginCheck(RoundEntry& entry);
    void ConcludeCheck(RoundEntry& entry, std::list<EmsSession_IImpl*>& eraseList);
    /// Limit of the calls of the check.
    std::chrono::milliseconds PrepareForExit(SessionSource& source);
    EventLoss CurrentEventLoss();

    ACE_Thread_Manager serviceThreads_;
    std::atomic<std::int64_t> pingInterval_{0};
    ACE_Event wakeUp_{0, 0, USYNC_THREAD};
    std::atomic<bool> exitRequested_{false};
    bool silentMode_ = false;
    std::size_t pingThreads_ = 1;
    OpenIterators iterators_;  ///< a reference each
    std::atomic<std::size_t> iteratorsToCome_{
        0};  ///< places taken for iterators that are being activated
    /// So many of those came when there was none to close for them: the next ones that are listed
    /// close one.
    std::size_t evictionsOwed_ = 0;
    std::map<std::string, POA_common::Common_I*, std::less<>> servants_;
    ACE_RW_Mutex iteratorLock_;
    ACE_Thread_Mutex servantLock_;
    CorbaAgentConfig* agentConfig_ = nullptr;
    ACE_Thread_Mutex eventLossLock_;
    EventLoss eventLoss_;
    BaseSSHandler userStateHandler_;
    std::atomic<bool> handlerRegistered_{false};
    ACE_Semaphore exitSemaphore_{0, USYNC_THREAD, nullptr, nullptr, 0x7fffffff};
    ACE_Thread_Manager waitingThreads_;
    ListedSessions sessions_;  ///< oldest first
    bool isClosed_ = false;    ///< no session is listed any more; guarded by the session lock
    /// The listed sessions by hash, so that finding a caller's session costs the same however many
    /// there are.
    std::unordered_multimap<std::size_t, EmsSession_IImpl*> sessionsByKey_;
    std::multiset<EmsSession_IImpl*> waiting_;
    std::atomic<std::size_t> waitingCount_{
        0};  ///< of waiting_; changed under the session lock, read without
    ACE_RW_Mutex sessionLock_;
    /// End of the time that all NMS together get at exit; none before the exit. Of the one check
    /// that begins.
    std::optional<std::chrono::steady_clock::time_point> exitDeadline_;

    static SessionMgr* m_pInstance;
};

}  // namespace NS_KELPCORBA
