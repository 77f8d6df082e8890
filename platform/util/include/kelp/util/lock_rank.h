#pragma once

#include <kelp/util/export.h>

namespace kelp::util {

class RankedLock;

/// The order in which one thread may take several locks: each has a higher rank than all that the
/// thread already holds. A thread never holds two locks of the same rank. docs/architecture.md
/// describes the order.
///
/// The ranks from ServiceControl on belong to platform services that may be called with any other
/// lock held.
enum class LockRank {
    /// Serialises the start and stop of the bundles. Their code runs while it is held.
    Bundles,
    /// Serialises starts of the agent's base configuration. The ORB and the embedded naming service
    /// are started while it is held.
    BaseControl,
    /// Serialises the start and end of the ORB. The end destroys the agent's servants, which lock
    /// their own mutexes.
    OrbControl,
    /// Serialises log-ins. All locks of sessions, iterators and the ORB may be taken while it is
    /// held.
    LogIn,
    /// A list that an NMS reads. Its source may lock anything except another outermost mutex.
    Outermost,
    /// The agent's ping round, the managers' alarms and their known attributes. While one of these
    /// is held the notification channel and the ORB are called, which lock their own mutexes.
    Agent,
    /// The list of sessions. While it is held, the sources of sessions are locked, and users are
    /// logged out.
    SessionList,
    /// What wakes the waiting thread of a session. The session's source is locked while it is held.
    SessionWake,
    /// The source of a session: its state and its NMS. While it is held, only the connections'
    /// log-ins and the callers of sessions, both leaves, are locked.
    SessionSource,
    /// Serialises pushes into an event channel. All other locks of the channel may be locked while
    /// it is held, and so may the leaf that the listener for lost events needs.
    ChannelIntake,
    /// Serialises changes of an event channel's qualities of service, or of its consumers'
    /// subscriptions. All other locks of the channel may be locked while it is held.
    ChannelChange,
    /// The lists and limits of an event channel. Its subscriptions and delivery threads are locked
    /// while it is held.
    Channel,
    /// A part of an event channel, such as a subscription, a filter list or the proxies of an
    /// admin. An owner, a set of event types, delivery threads and the counters of limits are
    /// locked while it is held, but no other part.
    ChannelPart,
    /// A set of event types that peers of an event channel follow. The change notices are locked
    /// while it is held.
    ChannelTypes,
    /// Serialises starts of the ORB port. If a start fails, the gate's connections are ended while
    /// it is held.
    OrbStart,
    /// The input of one connection at the gate. While it is held, the connection's TLS is locked,
    /// and the gate's policy is called, which locks the log-ins and the allowed networks.
    GateInput,
    /// The TLS of one connection, the table of connections, or the connections that one thread
    /// watches. While it is held, the gate's policy is called and the handshakes are locked.
    Gate,
    /// kelpnms: what it does when it is interrupted. Its other locks may be taken while this one is
    /// held.
    NmsInterrupts,
    /// kelpnms: the view of the events or the dump of the network. While it is held, the report,
    /// the dump's file, the progress and the signals to the main thread are locked.
    NmsView,
    /// Nothing but the platform services below may be called while it is held.
    Leaf,
    /// Serialises the start, stop or load of a platform service (logs, light events, configuration,
    /// allowed networks, accounts, the limit of all calls), guards the list of task managers, or is
    /// held while a call is sent without waiting. The service's other lock, a task manager's lock
    /// or the encodings of an event are locked while it is held.
    ServiceControl,
    /// The data of a platform service: logs, inventory, light events, token buckets, bundles,
    /// log-ins, the ORB's references, the ORB port, the operator's requests, task queues. Only the
    /// configuration is read and the trace written while it is held.
    Service,
    /// The configuration. Nothing else is locked while it is held.
    Configuration,
    /// Serialises opening and closing of the trace.
    TraceControl,
    /// The trace: it may be written under any other lock.
    Trace,
};

/// Abort, with the names of both, if the calling thread holds a lock whose rank is not below that
/// of `next`.
KELP_EXPORT void checkLockOrder(const RankedLock& next);
/// Record that the calling thread has taken the lock.
KELP_EXPORT void rememberLocked(const RankedLock& lock);
/// Record that the calling thread is about to release the lock.
KELP_EXPORT void forgetLocked(const RankedLock& lock);

/// The rank of a lock, and its name for messages. A derived class is the lock itself. It calls
/// beforeLock() before it may wait, afterLock() when it is locked and beforeUnlock(). They check
/// the order in debug builds and do nothing in others.
class RankedLock {
  public:
    RankedLock(const RankedLock&) = delete;
    RankedLock& operator=(const RankedLock&) = delete;

    LockRank rank() const { return rank_; }
    const char* name() const { return name_; }

  protected:
    /// `name` must live as long as the lock: a string literal.
    constexpr RankedLock(LockRank rank, const char* name) : rank_(rank), name_(name) {}
    ~RankedLock() = default;

#ifdef NDEBUG
    void beforeLock() const {}
    void afterLock() const {}
    void beforeUnlock() const {}
#else
    void beforeLock() const {
        checkLockOrder(*this);
    }
    void afterLock() const {
        rememberLocked(*this);
    }
    void beforeUnlock() const {
        forgetLocked(*this);
    }
#endif

  private:
    const LockRank rank_;
    const char* const name_;
};

}  // namespace kelp::util
