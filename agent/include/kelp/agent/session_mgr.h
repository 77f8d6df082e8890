#pragma once

#include <ace/Event.h>
#include <ace/Semaphore.h>
#include <ace/Task.h>
#include <ace/Thread_Manager.h>
#include <kelp/bundlemgr/light_event.h>
#include <kelp/orb/corba.h>
#include <kelp/util/export.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace POA_common {
class Common_I;
}

namespace NS_KELPCORBA {

class CorbaAgentConfig;
class EmsSession_IImpl;
struct EventLoss;
class EventLossState;
class IteratorList;
class ManagerServants;
class SessionList;
class SessionSource;
class SilenceWatch;
template <class S>
class ServantRef;

/// Ends the session of a user whose account became invalid (light event 119).
class BaseSSHandler : public NS_BUNDLEMGR1::LightEventHandler {
  public:
    void DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) override;
};

/// The process-wide registry of the objects of logged-in NMS: sessions in log-in order, iterators
/// in order of creation, manager servants by name. Its service thread checks every session once per
/// interval and erases the sessions that are over. It calls the NMS on threads that live as long as
/// one round.
///
/// Any thread may call it. The session list, the silence watch, the iterator list, the servants
/// and the event-loss state are separate objects, each with its own lock. No two of these locks are
/// held together, and no NMS is called under any of them. The lock order is: the factory's login
/// lock, the lock of the session list ("session lock"), the lock of a session source.
class SessionMgr : public ACE_Task_Base {
  public:
    KELP_EXPORT static SessionMgr* Instance();
    /// Return the instance, or null when there is none. For callers that may run after Destroy.
    static SessionMgr* Existing();
    /// Release servants and sessions, log out all users that are still logged in, and destroy the
    /// instance.
    static void Destroy();

    /// Make the servants of the managers in the base configuration and start the ping thread.
    /// Return 0, or -1 on failure.
    int Init();
    int open(void* args = nullptr) override;
    int close(unsigned long flags = 0) override;
    /// The ping loop: the body of the service thread.
    int svc() override;
    /// End every session, notify each NMS, and end the ping thread. Returns when the thread has
    /// ended.
    int ExitThread();

    // -- sessions
    /// List a session. Return 0 and take over one reference. Return -1 when the session lock
    /// failed, or when the ping thread has ended and can no longer notify the NMS of the session's
    /// end. The caller keeps the reference when -1 is returned or std::bad_alloc is thrown.
    int add_emsSession(EmsSession_IImpl* session);
    /// Remove those of the given sessions that are listed and no longer Normal, and drop the list's
    /// references. Return their number.
    int EraseSessions(const std::list<EmsSession_IImpl*>& sessions);
    /// Remove the first session of this NMS and user from the list. The caller takes over the
    /// list's reference and must `_remove_ref` it. Null when there is none.
    EmsSession_IImpl* GetNmsSession(const std::string& hostInfo, const std::string& userName);
    /// Return the first session of this NMS and user, borrowed. It stays listed. Null when there is
    /// none.
    EmsSession_IImpl* GetNmsSessionByNmsInfo(const std::string& hostInfo,
                                             const std::string& userName);
    /// The same, pinned under the session lock.
    ServantRef<EmsSession_IImpl> PinNmsSession(const std::string& hostInfo,
                                               const std::string& userName);
    /// Return every listed session, oldest first. All are pinned under the session lock.
    std::vector<ServantRef<EmsSession_IImpl>> PinSessions();
    /// Append the listed sessions whose user name followed by host info equals `clientKey`, pinned.
    /// Return false when the lock failed.
    bool PinSessionsByClientKey(const std::string& clientKey,
                                std::vector<ServantRef<EmsSession_IImpl>>& sessions);
    /// Remove the session from the list and drop the list's reference, if it is listed.
    void Unlist(EmsSession_IImpl* session);
    /// Drop one reference of a session under the session lock.
    void RemoveRefLocked(EmsSession_IImpl* session);
    std::size_t SessionCount();
    /// Duration of the last complete round of pings. 0 before its end.
    std::chrono::milliseconds LastRound() const { return lastRound_.load(); }
    KELP_EXPORT bool isAdminAlreadyLoginIn(const std::string& userName);
    SessionSource* GetSessionSource(EmsSession_IImpl* session);

    // -- waiting threads (release strategy 2)
    /// Start `body(session)` on the waiting-thread manager. The thread owns a reference on its
    /// session, which is registered here until LeaveWaiting. Return false when the thread could not
    /// be created.
    bool SpawnWaiting(EmsSession_IImpl* session, ACE_THR_FUNC body);
    void LeaveWaiting(EmsSession_IImpl* session);
    /// True while any session, listed or not, is between SpawnWaiting and LeaveWaiting. Takes no
    /// lock.
    bool IsAnybodyWaiting() const;
    /// Wake every waiting thread, of listed and unlisted sessions.
    void WakeAllWaiting();
    ACE_Thread_Manager& WaitingThreads();

    // -- manager servants
    /// Register a servant and take a reference on it. A servant already registered under the name
    /// is replaced and released.
    void RegisterServant(const std::string& name, POA_common::Common_I* servant);
    /// Return the servant of exactly this name, borrowed. Case matters. Null for an unknown or null
    /// name.
    POA_common::Common_I* find_servant(const char* name);
    /// The same, with a reference taken under the servant lock. The caller must `_remove_ref` it.
    POA_common::Common_I* pin_servant(std::string_view name);

    // -- iterators
    /// Activate a new iterator in its `_default_POA` and list it. First evict the oldest iterator
    /// of the same session if that already has `IteratorsPerSession()` open, then the oldest of all
    /// if more than `IteratorRestriction()` are open.
    ///
    /// Return 0 and take over the caller's reference. On failure return an error code and leave the
    /// iterator with the caller: 0x41180102 when `IteratorNum()` iterators are open, 0x411800BA
    /// when it cannot be activated or its POA is destroyed meanwhile, 0x411800BE when the iterator
    /// lock failed.
    unsigned long add_iterator(PortableServer::ServantBase* iterator);
    /// The same, and also return the iterator's reference, nil on failure. The caller cannot look
    /// it up later, because the iterator may already have been evicted by then.
    unsigned long add_iterator(PortableServer::ServantBase* iterator, CORBA::Object_var& reference);
    /// Remove an iterator from the list and drop the list's reference. Ignore one that is not
    /// listed. Return 0, or -1 when the iterator lock failed.
    int remove_iterator(PortableServer::ServantBase* iterator);
    std::size_t IteratorCount();
    /// Number of open iterators of the session with this name.
    std::size_t IteratorCountOf(const std::string& sessionName);

    // -- the current request
    /// Return the tagged session name of the current request, or an empty text.
    KELP_EXPORT std::string GetNmsIPAddrByContext();
    KELP_EXPORT int GetUserIDByContext();

    // -- event loss, reported to every NMS in the next ping round
    KELP_EXPORT void NotifyEventLossOccurred(const std::string& startTime,
                                             const std::string& notificationId);
    KELP_EXPORT void NotifyEventLossCleared(const std::string& endTime);
    /// What was reported last.
    EventLoss CurrentEventLoss() const;

    SessionMgr(const SessionMgr&) = delete;
    SessionMgr& operator=(const SessionMgr&) = delete;

  private:
    struct RoundEntry;

    SessionMgr();
    ~SessionMgr() override;

    void DeregisterUserStateHandler();
    void SetCallTimeouts();
    void SleepUntil(std::chrono::steady_clock::time_point roundDue);
    void RunRound();
    void BeginCheck(RoundEntry& entry);
    void ConcludeCheck(RoundEntry& entry, std::list<EmsSession_IImpl*>& eraseList);
    /// Prepare a session's check during the stop. Return the time limit for its call to the NMS.
    std::chrono::milliseconds PrepareForExit(SessionSource& source);

    ACE_Thread_Manager serviceThreads_;
    std::atomic<std::int64_t> pingInterval_{0};
    ACE_Event wakeUp_{0, 0, USYNC_THREAD};
    std::atomic<bool> exitRequested_{false};
    bool silentMode_ = false;
    std::size_t pingThreads_ = 1;
    std::atomic<std::chrono::milliseconds> lastRound_{std::chrono::milliseconds(0)};
    const std::unique_ptr<SessionList> sessions_;
    const std::unique_ptr<SilenceWatch> silenceWatch_;
    const std::unique_ptr<IteratorList> iterators_;
    const std::unique_ptr<ManagerServants> servants_;
    const std::unique_ptr<EventLossState> eventLoss_;
    CorbaAgentConfig* agentConfig_ = nullptr;
    BaseSSHandler userStateHandler_;
    std::atomic<bool> handlerRegistered_{false};
    ACE_Semaphore exitSemaphore_{0, USYNC_THREAD, nullptr, nullptr, 0x7fffffff};
    /// The time by which all NMS together must have been notified of the stop. Empty before the
    /// first check of the stop. Used only where a check begins, by one thread at a time.
    std::optional<std::chrono::steady_clock::time_point> exitDeadline_;
};

}  // namespace NS_KELPCORBA
