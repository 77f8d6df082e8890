#pragma once

#include <kelp/corbabase/call_meter.h>
#include <kelp/corbabase/session_token.h>
#include <kelp/orb/corba.h>
#include <mtnm/nmsSession.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "adapter/session_life.h"
#include "util/write_lock.h"

namespace NS_KELPCORBA {

/// The liveness of a session. set_state never leaves `Invalid`.
enum SessionState : std::int32_t {
    Normal = 0,
    Ended = 1,
    EmsExiting = 2,
    Invalid = 3,
    SilentWaiting = 4
};

/// Return the name of a session's top POA: user name and "address:port", each between its tags.
/// Nothing is escaped.
std::string sessionNameText(const std::string& userName, const std::string& ipAndPort);

/// The record of one logged-in NMS: its own session object, its user and address, its liveness, and
/// the small POA tree of all objects that the session returns. Owned by the session servant. The
/// destructor releases the references. The end of the session destroys the POA tree.
///
/// Any thread may call it. `lock_` guards the NMS's reference, the count of failed pings, the state
/// and the flags. Every access takes it for writing. If that fails errno is set, and the access
/// goes on without the lock. Under it only the locks of NS_CORBA::SessionCallers and of the
/// connections' log-ins are taken, and no call leaves the process.
class SessionSource {
  public:
    /// Return a new source, which keeps a duplicate of `nmsSession`. Null when there is no memory,
    /// or no random numbers for the token.
    static SessionSource* create(const std::string& ipAndPort, const std::string& userName,
                                 nmsSession::NmsSession_I_ptr nmsSession);
    ~SessionSource();
    SessionSource(const SessionSource&) = delete;
    SessionSource& operator=(const SessionSource&) = delete;

    // -- the record
    /// Both return duplicates, which the caller owns. The POA is nil before init has succeeded.
    PortableServer::POA_ptr get_POA() const;
    nmsSession::NmsSession_I_ptr get_nms_session() const;
    /// Replace the NMS's reference and reset its liveness: state Normal, no failed ping.
    void set_nms_session(nmsSession::NmsSession_I_ptr nmsSession);
    const std::string& get_user_name() const { return userName_; }
    const std::string& get_ip_and_port() const { return ipAndPort_; }
    const std::string& get_session_name() const { return sessionName_; }
    const NS_CORBA::SessionToken& token() const { return token_; }
    /// What the operator is shown of it.
    SessionLife& life() { return life_; }
    const SessionLife& life() const { return life_; }
    /// The calls of the NMS on objects of the session.
    NS_CORBA::CallFigures calls() const;

    std::int32_t get_state() const;
    /// Set the state, unless it is already Invalid.
    void set_state(std::int32_t state);
    /// Change the state atomically. Return false when it is not `from`.
    bool change_state(std::int32_t from, std::int32_t to);
    /// Change the state from `from` to Ended and note why, in one step. Return false when it is not
    /// `from`.
    bool endFrom(std::int32_t from, EndReason reason, const std::string& by);
    /// Do set_nms_session atomically if the session is Normal or waits silently. Return false
    /// otherwise. From then on only the peer address of the current request may call the session's
    /// objects.
    bool reuse(nmsSession::NmsSession_I_ptr nmsSession, bool& waitedSilently);

    std::int32_t get_ping_failures() const;
    bool get_ping_answered() const;
    bool get_event_loss_cleared() const;

    bool get_silent_waiting() const;
    /// Set the flag for a new silent-waiting thread.
    void set_silent_waiting();
    void clear_silent_waiting();
    /// Number of the silent-waiting thread started last. A thread clears the flag only if this is
    /// its own number, so a thread that ends late cannot clear the flag of its successor.
    std::uint32_t silent_waiting_number() const;
    bool is_waiting_silently(std::uint32_t number) const;
    void leave_silent_waiting(std::uint32_t number);

    /// Record that the NMS has called an object of the session. With `[session] call_is_life` this
    /// is a sign of life.
    void noteCall() { isCalled_.store(true, std::memory_order_relaxed); }
    /// Return whether the NMS has called since the last takeCalled.
    bool takeCalled() { return isCalled_.exchange(false); }

    /// Log the user out. Only the first call has an effect: there is one log-out for one log-in,
    /// whatever ends the session.
    void logOutOnce();

    // -- object adapters
    /// Make the POA tree below the root POA. Only the peer address of the current request may call
    /// its objects. Return 0, or 0x411800BA.
    unsigned long init(PortableServer::POA_ptr rootPoa);
    static PortableServer::POA_ptr create_ServantLocator_poa(PortableServer::POA_ptr parent,
                                                             const std::string& name);
    static PortableServer::POA_ptr create_iterator_poa(PortableServer::POA_ptr parent,
                                                       const std::string& name);
    static PortableServer::POA_ptr create_session_poa(PortableServer::POA_ptr parent,
                                                      const std::string& name);
    /// Give the POA a servant manager with this token. An existing servant manager stays and gets
    /// the token. A null token means none.
    static unsigned long SetServantLocator(PortableServer::POA_ptr poa,
                                           const NS_CORBA::SessionToken* token = nullptr);
    static unsigned long SetServantIterator(PortableServer::POA_ptr top,
                                            const NS_CORBA::SessionToken* token = nullptr);
    /// Make a POA with a servant locator below any parent.
    static unsigned long CreateServantPoa(PortableServer::POA_var& poa,
                                          PortableServer::POA_ptr parent, const std::string& name);
    /// Make a reference to the object with this id and the session's token. Nothing is activated:
    /// the servant locator finds the servant of each request. Nil on failure.
    CORBA::Object_ptr create_object_reference(const char* objectId, const char* repositoryId);
    /// The same without a token in the id, for a POA without a token.
    static CORBA::Object_ptr create_object_reference(PortableServer::POA_ptr poa,
                                                     const char* objectId,
                                                     const char* repositoryId);
    static CORBA::Object_ptr create_object_reference(PortableServer::POA_ptr poa,
                                                     const PortableServer::ObjectId& id,
                                                     const char* repositoryId);
    /// Begin to destroy the POA tree and release its name. Throws what POA::destroy throws.
    void destroyAdapters(PortableServer::POA_ptr poa);

    // -- the check of a round
    /// Do all steps of a SessionCheck: end the session if it is over, report a change in the
    /// event-loss condition to its NMS, or ping the NMS. Return 0 when the session continues, -1
    /// when it was torn down. Throws nothing. Called by the ping thread, whose time-out limits each
    /// call.
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
    /// Count a failed ping, unless there was another sign of life.
    void pingFailed(bool isAliveOtherwise);
    void setEventLossCleared(bool cleared);

    const std::string ipAndPort_;
    const std::string userName_;
    const std::string sessionName_;
    const NS_CORBA::SessionToken token_;
    SessionLife life_;
    mutable WriteMutex lock_{kelp::util::LockRank::SessionSource, "SessionSource::lock_"};
    PortableServer::POA_var servantPoa_ KELP_GUARDED_BY(lock_);
    nmsSession::NmsSession_I_var nmsSession_ KELP_GUARDED_BY(lock_);
    std::int32_t pingFailures_ KELP_GUARDED_BY(lock_) = 0;
    std::int32_t state_ KELP_GUARDED_BY(lock_) = Normal;
    bool eventLossCleared_ KELP_GUARDED_BY(lock_) = true;
    bool pingAnswered_ KELP_GUARDED_BY(lock_) = true;
    bool silentWaiting_ KELP_GUARDED_BY(lock_) = false;
    std::uint32_t silentWaitingNumber_ KELP_GUARDED_BY(lock_) = 0;
    std::atomic<bool> loggedOut_{false};
    std::atomic<bool> isCalled_{false};
    std::atomic<std::uint64_t> callsAtEnd_{0};  ///< set when the name is given up
};

}  // namespace NS_KELPCORBA
