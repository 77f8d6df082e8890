#pragma once

#include <kelp/notification/consumer_counts.h>
#include <kelp/orb/event_sender.h>
#include <kelp/util/export.h>

#include <cos/CosNotifyChannelAdmin.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

namespace kelp::notification {

/// How deliveries are made; the same for every consumer of a channel.
struct KELP_EXPORT DeliverySettings {
    std::chrono::milliseconds pushTimeout{10000};  ///< limit of one call to a consumer
    std::chrono::milliseconds deadAfter{600000};  ///< a consumer that answers nothing for so long is given up
    std::chrono::milliseconds firstBackOff{500};  ///< before a consumer that did not answer is tried again
    std::chrono::milliseconds longestBackOff{30000};
};

struct KELP_EXPORT ChannelSettings {
    DeliverySettings delivery;
    std::size_t queueEventsMax = 10000;   ///< events that may wait for one consumer
    std::size_t deliveryThreadsMax = 64;  ///< grown with the consumers
    std::size_t slowThreads = 4;          ///< for consumers that do not answer
    /// Makes the calls to structured and sequence consumers.
    const kelp::orb::EventSender* sender = &kelp::orb::encodingSender();
};

/// Who is told of lost events.
class KELP_EXPORT LossListener {
  public:
    virtual ~LossListener() = default;
    /// Events were discarded, expired, refused, or dropped with a dead consumer; this one first. On the
    /// thread that pushed or delivered; several threads may tell at once. Must not throw.
    virtual void eventsLost(const CosNotification::StructuredEvent& first) = 0;
};

/// A CosNotification event channel of this process (OMG Notification Service 1.1): structured, sequence and
/// any consumers that push or pull, suppliers that push, filters, qualities of service. Each consumer has a
/// bounded queue of its own and gets its events in the order of push().
///
/// A consumer is dead, and is removed, when its object does not exist, when it says Disconnected, or when no
/// call to it has been answered for DeliverySettings::deadAfter. A push that got no answer is made again once
/// a call that carries no event was answered: an event may arrive twice, never out of order.
///
/// Any thread may call it. The ORB must outlive it.
class KELP_EXPORT Channel {
  public:
    /// Makes the channel's objects in a child of the root POA, whose manager it shares. `listener` may be
    /// null.
    Channel(CORBA::ORB_ptr orb, const ChannelSettings& settings, LossListener* listener);
    /// stop().
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    CosNotifyChannelAdmin::EventChannel_ptr reference() const;

    /// Takes an event in for every connected consumer whose filters it passes. Waits for no consumer, but for
    /// filters that live in other processes.
    void push(const CosNotification::StructuredEvent& event);

    std::vector<ConsumerCounts> consumers() const;
    /// True when every consumer that answers has drained below half of its queue.
    bool isDrained() const;

    /// Ends every delivery and every blocked pull and takes the objects away. A call in progress is waited
    /// for, which its time-out bounds.
    void stop();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::notification
