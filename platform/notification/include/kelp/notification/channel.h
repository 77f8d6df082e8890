#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <kelp/notification/consumer_counts.h>
#include <kelp/notification/guard.h>
#include <kelp/orb/event_sender.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

namespace kelp::notification {

/// How events are delivered. The same for every consumer of a channel.
struct KELP_EXPORT DeliverySettings {
    /// Maximum time of one call to a consumer or supplier.
    std::chrono::milliseconds pushTimeout{10000};
    /// A consumer that has shown no sign of life for this time is dead.
    std::chrono::milliseconds deadAfter{600000};
    /// Pause before the first retry to a consumer that did not answer. Doubles with each retry.
    std::chrono::milliseconds firstBackOff{500};
    std::chrono::milliseconds longestBackOff{30000};
};

/// Maximum number of objects that the clients at one address may have in a channel at the same
/// time. An object counts until it ends. Callers inside the process are not limited.
struct KELP_EXPORT AddressLimits {
    /// ProxySuppliers, which serve consumers, connected or not. One more raises AdminLimitExceeded.
    std::size_t consumers = 200;
    std::size_t suppliers = 100;  ///< ProxyConsumers, which serve suppliers, likewise
    std::size_t admins = 500;     ///< one more raises NO_RESOURCES
    std::size_t filters = 5000;   ///< one more raises NO_RESOURCES
};

/// Maximum number of objects that one owner may have in a channel at the same time, and the
/// maximum cost of its constraints. An owner is a log-in, or an address if the log-in is not known.
/// Callers inside the process are limited only in the cost.
struct KELP_EXPORT OwnerLimits {
    std::size_t consumers = 20;      ///< ProxySuppliers; one more raises AdminLimitExceeded
    std::size_t admins = 50;         ///< one more raises NO_RESOURCES
    std::size_t filters = 500;       ///< one more raises NO_RESOURCES
    std::size_t constraints = 2000;  ///< in all its filters; one more raises NO_RESOURCES
    /// Length of one constraint in octets. A longer one raises InvalidConstraint.
    std::size_t constraintBytes = 8192;
    /// Steps that one constraint may need for one event, estimated when it is added. A more costly
    /// one raises InvalidConstraint.
    std::size_t constraintCost = 20000;
    /// Steps that the filters of one consumer may take for one event. An event that needs more does
    /// not match.
    std::size_t evaluationCost = 50000;
};

/// The settings of a channel.
struct KELP_EXPORT ChannelSettings {
    DeliverySettings delivery;
    std::size_t queueEventsMax = 10000;   ///< events that may wait for one consumer
    std::size_t deliveryThreadsMax = 64;  ///< the number of threads follows that of the consumers
    std::size_t slowThreads = 4;          ///< threads for consumers that do not answer
    std::size_t filterThreads = 2;        ///< threads for consumers with filters; at least 2
    AddressLimits perAddress;
    OwnerLimits perOwner;
    /// Makes the calls to structured and sequence consumers.
    const kelp::orb::EventSender* sender = &kelp::orb::encodingSender();
    /// Decides who may use the channel over connections. Null: everybody. Must outlive the channel.
    const Guard* guard = nullptr;
    /// Time from when an owner is first seen without permission until its objects are dropped.
    std::chrono::milliseconds grace{60000};
};

/// Is notified of lost events.
class KELP_EXPORT LossListener {
  public:
    virtual ~LossListener() = default;
    /// Events were discarded, refused by the consumer, or dropped with a dead consumer. `first` is
    /// the first of them, valid during the call. Called on the thread that lost them (of a push, a
    /// filter, a delivery or review()), so several threads may call at the same time. Must not
    /// throw.
    virtual void eventsLost(const kelp::orb::EventView& first) = 0;
};

/// A CosNotification event channel in this process (OMG Notification Service 1.1). It supports push
/// and pull consumers, and push suppliers, of structured events, sequences and anys. It supports
/// filters and qualities of service. Each consumer has a separate bounded queue. It receives its
/// events in the order of push(), unless it has set another OrderPolicy.
///
/// Mapping filters (create_mapping_filter, setting a priority_filter or lifetime_filter), pull
/// suppliers, and the untyped proxies of the Event Service raise NO_IMPLEMENT. docs/notification.md
/// compares the channel with the standard.
///
/// A consumer is dead, and is removed, in three cases: its object does not exist, it raises
/// Disconnected, or it has shown no sign of life for DeliverySettings::deadAfter. A push consumer
/// shows life by answering a call, a pull consumer by pulling while events wait. The time of a
/// suspension does not count. A push that got no answer is retried once the consumer has answered a
/// probe, a call that carries no event. An event may therefore arrive twice, but never out of
/// order.
///
/// Some losses are counted but not reported to the LossListener: events that a consumer loses by a
/// limit that it has set itself (its Timeout, or a MaxEventsPerConsumer below the configured one),
/// and events that expire by their own Timeout.
///
/// Consumers can follow the offered types: the union of the types passed to offer_change of all
/// ProxyConsumers and SupplierAdmins that still exist. If one of them offers "%ALL", which means
/// every type, or if nobody offers anything, the union is only "%ALL". Suppliers can follow the
/// subscribed types: for each consumer the types that its proxy and its admin have in common.
/// Without consumers there are no subscriptions.
///
/// These updates are off until a peer asks for them with ALL_NOW_UPDATES_ON or NONE_NOW_UPDATES_ON
/// (obtain_offered_types, obtain_subscription_types), so no peer is called unasked. From then on
/// the channel calls the peer's offer_change or subscription_change after real changes, and may
/// combine several changes in one call. A dedicated thread makes these calls, each limited by
/// DeliverySettings::pushTimeout. If the call raises a system exception (no answer, no such object
/// or operation), the peer's updates are switched off; it may ask again. The callbacks of a filter
/// follow the event types of its constraints in the same way. A callback that fails is detached.
///
/// The keys of the channel's objects are random. With a Guard, a request over a connection is
/// refused (NO_PERMISSION) unless the guard lets its peer's address use the channel. Disconnect
/// operations, _is_a and _non_existent are exempt from that. Calls inside the process are not
/// restricted. An object belongs to the owner that made it. review() drops it once its owner has
/// been without permission for ChannelSettings::grace. That is not reported as an event loss,
/// because nobody is left to receive the events. Separate threads try to disconnect its peer.
///
/// Any thread may call it. The ORB must outlive it.
class KELP_EXPORT Channel {
  public:
    /// Create the channel's objects in a child of the root POA. The child shares the root POA's
    /// manager. `listener` is borrowed and may be null.
    Channel(CORBA::ORB_ptr orb, const ChannelSettings& settings, LossListener* listener);
    /// Calls stop().
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    CosNotifyChannelAdmin::EventChannel_ptr reference() const;

    /// Queue an event for every connected consumer whose filters it passes. Wait neither for a
    /// consumer nor for a filter: filters of other processes are refused (NO_IMPLEMENT). The event
    /// is encoded at once, and all queues share its octets.
    void push(const CosNotification::StructuredEvent& event);
    /// The same for a shared event, which must not be null.
    void push(const kelp::orb::StructuredEventPtr& event);

    std::vector<ConsumerCounts> consumers() const;
    /// What the consumer of this proxy gets. Nothing if there is none.
    ConsumerSubscription subscriptionOf(std::int32_t admin, std::int32_t proxy) const;
    /// Sums over the consumers of this owner that have ended. See ConsumerCounts::owner.
    EndedCounts endedConsumersOf(const std::string& owner) const;
    /// True when every consumer that answers has less than half of its queue filled.
    bool isDrained() const;

    /// Drop the objects whose owner's grace period is over at `now`, and trace each proxy. Drop
    /// events that have expired, and consumers that have stopped pulling. To be called a few times
    /// a second, by one thread at a time, and not during stop(). Calls nobody but the LossListener.
    void review(std::chrono::steady_clock::time_point now);

    /// End every delivery, every blocked pull and all updates, and remove the objects. Waits for
    /// the calls in progress, at most for their time-out.
    void stop();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::notification
