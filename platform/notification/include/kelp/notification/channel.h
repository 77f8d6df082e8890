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

/// How deliveries are made; the same for every consumer of a channel.
struct KELP_EXPORT DeliverySettings {
    std::chrono::milliseconds pushTimeout{10000};  ///< limit of one call to a consumer or supplier
    std::chrono::milliseconds deadAfter{
        600000};  ///< a consumer that answers nothing for so long is given up
    std::chrono::milliseconds firstBackOff{
        500};  ///< before a consumer that did not answer is tried again
    std::chrono::milliseconds longestBackOff{30000};
};

/// Objects that clients at one address may have in a channel at the same time; they count until
/// they end. A caller inside the process is not limited.
struct KELP_EXPORT AddressLimits {
    std::size_t consumers =
        200;  ///< proxies of consumers, connected or not; beyond, AdminLimitExceeded
    std::size_t suppliers = 100;  ///< likewise of suppliers
    std::size_t admins = 500;     ///< beyond, NO_RESOURCES
    std::size_t filters = 5000;   ///< likewise
};

/// Objects that one owner may have in a channel at the same time, and what its constraints may
/// cost. An owner is a log-in, or an address where the log-in is not known. A caller inside the
/// process is not limited in numbers.
struct KELP_EXPORT OwnerLimits {
    std::size_t consumers = 20;          ///< proxies of consumers; beyond, AdminLimitExceeded
    std::size_t admins = 50;             ///< beyond, NO_RESOURCES
    std::size_t filters = 500;           ///< likewise
    std::size_t constraints = 2000;      ///< of all its filters; likewise
    std::size_t constraintBytes = 8192;  ///< of one text; beyond, InvalidConstraint
    /// Steps that one constraint may need for an event, estimated when it is added; beyond,
    /// InvalidConstraint.
    std::size_t constraintCost = 20000;
    /// Steps that the filters of one consumer may take for one event; beyond, the event does not
    /// match.
    std::size_t evaluationCost = 50000;
};

struct KELP_EXPORT ChannelSettings {
    DeliverySettings delivery;
    std::size_t queueEventsMax = 10000;   ///< events that may wait for one consumer
    std::size_t deliveryThreadsMax = 64;  ///< grown with the consumers
    std::size_t slowThreads = 4;          ///< for consumers that do not answer
    std::size_t filterThreads = 2;        ///< for consumers with filters; at least 2
    AddressLimits perAddress;
    OwnerLimits perOwner;
    /// Makes the calls to structured and sequence consumers.
    const kelp::orb::EventSender* sender = &kelp::orb::encodingSender();
    /// Who may use the channel over connections; null: everybody. It must outlive the channel.
    const Guard* guard = nullptr;
    /// From when an address is first seen to have lost permission until its proxies are dropped.
    std::chrono::milliseconds grace{60000};
};

/// Who is told of lost events.
class KELP_EXPORT LossListener {
  public:
    virtual ~LossListener() = default;
    /// Events were discarded, refused, or dropped with a dead consumer; this one first. On the
    /// thread that pushed or delivered; several threads may tell at once. Must not throw.
    virtual void eventsLost(const CosNotification::StructuredEvent& first) = 0;
};

/// A CosNotification event channel of this process (OMG Notification Service 1.1): structured,
/// sequence and any consumers that push or pull, suppliers that push, filters, qualities of
/// service. Each consumer has a bounded queue of its own and gets its events in the order of
/// push(), unless its OrderPolicy is another. Not offered, by NO_IMPLEMENT: mapping filters
/// (create_mapping_filter, a priority_filter or lifetime_filter set), suppliers that are pulled
/// from, and the untyped proxies of the Event Service. docs/notification.md compares it with the
/// standard.
///
/// A consumer is dead, and is removed, when its object does not exist, when it says Disconnected,
/// or when it has shown no life for DeliverySettings::deadAfter: no call to it was answered, or, if
/// it pulls, events waited and it has not pulled. A push that got no answer is made again once a
/// call that carries no event was answered: an event may arrive twice, never out of order. The time
/// of a suspension does not count.
///
/// Events that a consumer loses by a limit that it has set itself (its Timeout, a
/// MaxEventsPerConsumer below the configured one), or that expire by a Timeout of their own, are
/// counted and told to nobody.
///
/// What suppliers offer (offer_change, at a proxy or an admin, each for itself; it goes with them)
/// is told to consumers, and what the consumers subscribe to (the types at proxy and admin
/// together; "%ALL" stands alone and means every type) is told to suppliers. While nobody offers
/// anything that is "%ALL"; without consumers nothing is subscribed to. These updates are off until
/// a peer asks for them (ALL_NOW_UPDATES_ON or NONE_NOW_UPDATES_ON of obtain_offered_types,
/// obtain_subscription_types), so that none is called unasked. Then its offer_change or
/// subscription_change is called after real changes, several of them as one, by one thread of the
/// channel that serves nothing else, with DeliverySettings::pushTimeout. A peer whose call raises a
/// system exception (no answer, no such object or operation) has its updates switched off, and may
/// ask again. The callbacks of a filter are told of the event types of its constraints in the same
/// way; one that fails is detached.
///
/// The keys of its objects are random, and with a Guard every request that arrives over a
/// connection is refused (NO_PERMISSION) unless the guard lets its peer's address use the channel;
/// disconnect operations, _is_a and _non_existent excepted. Calls inside the process are free. A
/// proxy belongs to the address that it was obtained or, later, connected from; review() drops it
/// once that address has been without permission for ChannelSettings::grace. That is no event loss:
/// there is nobody to tell. Its consumer is not called.
///
/// Any thread may call it. The ORB must outlive it.
class KELP_EXPORT Channel {
  public:
    /// Makes the channel's objects in a child of the root POA, whose manager it shares. `listener`
    /// may be null.
    Channel(CORBA::ORB_ptr orb, const ChannelSettings& settings, LossListener* listener);
    /// stop().
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    CosNotifyChannelAdmin::EventChannel_ptr reference() const;

    /// Takes an event in for every connected consumer whose filters it passes. Waits for no
    /// consumer, nor for a filter: those of other processes are refused (NO_IMPLEMENT).
    void push(const CosNotification::StructuredEvent& event);

    std::vector<ConsumerCounts> consumers() const;
    /// True when every consumer that answers has drained below half of its queue.
    bool isDrained() const;

    /// Drops the proxies, of consumers and suppliers, whose owner's grace is over at this time, and
    /// traces each. Drops events whose time is over, and consumers that have stopped pulling. To be
    /// called a few times a second, by one thread at a time and not during stop(). Calls nobody but
    /// the LossListener.
    void review(std::chrono::steady_clock::time_point now);

    /// Ends every delivery, every blocked pull and the telling of changes, and takes the objects
    /// away. Calls in progress are waited for, which their time-out bounds.
    void stop();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::notification
