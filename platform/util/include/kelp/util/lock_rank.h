#pragma once

#include <kelp/util/export.h>

namespace kelp::util {

class Mutex;

/// The order in which one thread may lock several mutexes: each has a higher rank than all that the
/// thread already holds. A thread never holds two mutexes of the same rank. docs/architecture.md
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
    /// A list that an NMS reads. Its source may lock anything except another outermost mutex.
    Outermost,
    /// The agent's ping round, the managers' alarms and their known attributes. While one of these
    /// is held the notification channel and the ORB are called, which lock their own mutexes.
    Agent,
    /// Serialises pushes into an event channel. All other locks of the channel may be locked while
    /// it is held, and so may the leaf that the listener for lost events needs.
    ChannelIntake,
    /// Serialises changes of an event channel's qualities of service, or of its consumers'
    /// subscriptions. All other locks of the channel may be locked while it is held.
    ChannelChange,
    /// The lists and limits of an event channel. Its subscriptions and its dispatcher are locked
    /// while it is held.
    Channel,
    /// A part of an event channel, such as a subscription, a filter list or the proxies of an
    /// admin. An owner, a set of event types, the dispatcher and the counters of limits are locked
    /// while it is held, but no other part.
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
    /// Nothing but the platform services below may be called while it is held.
    Leaf,
    /// Serialises the start, stop or load of a platform service (logs, light events, configuration,
    /// allowed networks, accounts, the limit of all calls), or guards the list of task managers.
    /// The service's other lock or a task manager's lock is locked while it is held.
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

/// Abort, with the names of both, if the calling thread holds a mutex whose rank is not below that
/// of `next`. Called by Mutex in debug builds before it locks.
KELP_EXPORT void checkLockOrder(const Mutex& next);
/// Record that the calling thread has locked the mutex.
KELP_EXPORT void rememberLocked(const Mutex& mutex);
/// Record that the calling thread is about to unlock the mutex.
KELP_EXPORT void forgetLocked(const Mutex& mutex);

}  // namespace kelp::util
