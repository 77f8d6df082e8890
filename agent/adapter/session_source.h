#pragma once

#include <ace/RW_Thread_Mutex.h>
#include <kelp/corbabase/session_token.h>
#include <kelp/orb/corba.h>
#include <mtnm/nmsSession.h>

#include <atomic>
#include <cstdint>
#include <string>

namespace NS_KELPCORBA {

/// Liveness of a session. `Invalid` is final for set_state.
enum SessionState : std::int32_t {
    Normal = 0,
    Ended = 1,
    EmsExiting = 2,
    Invalid = 3,
    SilentWaiting = 4
};

/// The name of a session's top POA: user name and "address:port" between their tags, nothing
/// escaped.
std::string sessionNameText(const std::string& userName, const std::string& ipAndPort);

/// The record of one logged-in NMS: its own session object, its user and address, its liveness, and
/// the small tree of POAs in which everything is made that the session hands out. Owned by the
/// session servant. Destruction releases the references; the POA tree goes when the session ends.
///
/// Threads: any. `lock_` guards the NMS's reference, the failed-ping count, the state and the
/// flags, and is taken for writing by every access; it is the innermost lock and no call leaves the
/// process under it.
class SessionSource {
  public:
    /// Null when memory is exhausted. Keeps a duplicate of `nmsSession`.
    static SessionSource* create(const std::string& ipAndPort, const std::string& userName,
                                 nmsSession::NmsSession_I_ptr nmsSession);
    ~SessionSource();
    SessionSource(const SessionSource&) = delete;
    SessionSource& operator=(const SessionSource&) = delete;

    // -- the record
    /// New duplicates, which the caller owns; the POA is nil before init succeeded.
    PortableServer::POA_ptr get_POA() const;
    nmsSession::NmsSession_I_ptr get_nms_session() const;
    /// Replaces the NMS's reference and starts its liveness anew (state Normal, no failed ping).
    void set_nms_session(nmsSession::NmsSession_I_ptr nmsSession);
    const std::string& get_user_name() const { return userName_; }
    const std::string& get_ip_and_port() const { return ipAndPort_; }
    const std::string& get_session_name() const { return sessionName_; }
    const NS_CORBA::SessionToken& token() const { return token_; }

    std::int32_t get_state() const;
    /// Stores the state unless it is Invalid already.
    void set_state(std::int32_t state);
    /// One compare-and-set: false when the state is no longer `from`.
    bool change_state(std::int32_t from, std::int32_t to);
    /// set_nms_session if the session is Normal or waits silently, in one step; false otherwise.
    /// The session may be called from the address of the request in hand from here on, and from no
    /// other.
    bool reuse(nmsSession::NmsSession_I_ptr nmsSession, bool& waitedSilently);

    std::int32_t get_ping_failures() const;
    bool get_ping_answered() const;
    bool get_event_loss_cleared() const;

    bool get_silent_waiting() const;
    /// Sets the flag for a new silent-waiting thread.
    void set_silent_waiting();
    void clear_silent_waiting();
    /// Number of the silent-waiting thread started last. A thread clears the flag only while it is
    /// its own, so that a slow leaver never takes a successor's.
    std::uint32_t silent_waiting_number() const;
    bool is_waiting_silently(std::uint32_t number) const;
    void leave_silent_waiting(std::uint32_t number);

    /// The NMS has called an object of the session: with `[session] call_is_life` a sign of life.
    void noteCall() { isCalled_.store(true, std::memory_order_relaxed); }
    /// True once after one or more calls.
    bool takeCalled() { return isCalled_.exchange(false); }

    /// Logs the user out; from the second call on nothing. One log-out for one log-in, whichever
    /// path ends the session.
    void logOutOnce();

    // -- object adapters
    /// Makes the POA tree under the root POA; its objects may be called from the address of the
    /// request in hand. 0, or 0x411800BA.
    unsigned long init(PortableServer::POA_ptr rootPoa);
    static PortableServer::POA_ptr create_ServantLocator_poa(PortableServer::POA_ptr parent,
                                                             const std::string& name);
    static PortableServer::POA_ptr create_iterator_poa(PortableServer::POA_ptr parent,
                                                       const std::string& name);
    static PortableServer::POA_ptr create_session_poa(PortableServer::POA_ptr parent,
                                                      const std::string& name);
    /// A servant manager that is there already stays and gets the token, which may be null: none.
    static unsigned long SetServantLocator(PortableServer::POA_ptr poa,
                                           const NS_CORBA::SessionToken* token = nullptr);
    static unsigned long SetServantIterator(PortableServer::POA_ptr top,
                                            const NS_CORBA::SessionToken* token = nullptr);
    /// A servant-locator POA under any parent, with its locator.
    static unsigned long CreateServantPoa(PortableServer::POA_var& poa,
                                          PortableServer::POA_ptr parent, const std::string& name);
    /// A reference that the servant locator serves later, under the id and the session's token;
    /// nothing is activated. Nil on failure.
    CORBA::Object_ptr create_object_reference(const char* objectId, const char* repositoryId);
    /// The same under the bare id, for a POA without a token.
    static CORBA::Object_ptr create_object_reference(PortableServer::POA_ptr poa,
                                                     const char* objectId,
                                                     const char* repositoryId);
    static CORBA::Object_ptr create_object_reference(PortableServer::POA_ptr poa,
                                                     const PortableServer::ObjectId& id,
                                                     const char* repositoryId);
    /// Begins to destroy the POA tree and gives up its name. Throws what POA::destroy throws.
    void destroyAdapters(PortableServer::POA_ptr poa);

    // -- the round's check
    /// Ends the session if it is over, tells its NMS of a change in the event-loss condition, or
    /// pings it. 0 when the session goes on, -1 when it was torn down. Raises nothing; for the ping
    /// thread, whose call time-out limits each call.
    int check_valid(bool eventLossClearedNow, const char* time, const char* notificationId,
                    bool silentMode);
    void eventLossOccurred_i(const char* startTime, const char* notificationId);
    void eventLossCleared_i(const char* endTime);

  private:
    friend class SessionCheck;

    bool claimName();
    void giveUpName();
    unsigned long makeTree(PortableServer::POA_ptr rootPoa);
    void destroyRemains(PortableServer::POA_ptr rootPoa);
    SessionSource(const std::string& ipAndPort, const std::string& userName,
                  nmsSession::NmsSession_I_ptr nmsSession);

    enum class Verdict { GoOn, TellAndTearDown, TearDown };
    Verdict judge(bool silentMode);
    int tearDown();
    void pingSucceeded();
    /// Counted unless there was another sign of life.
    void pingFailed(bool isAliveOtherwise);
    void setEventLossCleared(bool cleared);

    const std::string ipAndPort_;
    const std::string userName_;
    const std::string sessionName_;
    const NS_CORBA::SessionToken token_;
    PortableServer::POA_var servantPoa_;
    nmsSession::NmsSession_I_var nmsSession_;
    std::int32_t pingFailures_ = 0;
    std::int32_t state_ = Normal;
    mutable ACE_RW_Mutex lock_;
    bool eventLossCleared_ = true;
    bool pingAnswered_ = true;
    bool silentWaiting_ = false;
    std::uint32_t silentWaitingNumber_ = 0;
    std::atomic<bool> loggedOut_{false};
    std::atomic<bool> isCalled_{false};
};

}  // namespace NS_KELPCORBA
