#pragma once

#include <kelp/notification/consumer_counts.h>
#include <kelp/orb/event_sender.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace NS_CORBA {

using kelp::orb::StructuredEventPtr;

/// The channel that events are handed to, in this process or in another one. Only the handover's
/// thread calls handOver(), probe(), tend() and batchMax(). Any thread may call the others.
class EventChannelLink {
  public:
    enum class Outcome {
        Accepted,
        /// The channel refused the batch. One bad event may cause the refusal of all.
        Refused,
        /// The events may or may not have arrived. They are sent again once probe() was answered.
        Unanswered,
    };

    virtual ~EventChannelLink() = default;
    /// Whether handOver() may be called before probe() was answered for the first time.
    virtual bool isConnected() const = 0;
    /// Maximum number of events in one handOver().
    virtual std::size_t batchMax() const = 0;
    virtual Outcome handOver(const std::vector<StructuredEventPtr>& events) = 0;
    /// Make a call that carries no event, connecting first where necessary. True when the channel
    /// answers.
    virtual bool probe() = 0;
    /// Periodic work of the link, done a few times a second even without events. Must not block.
    virtual void tend() {}
    /// Begin no further call. A call in progress ends by its time-out.
    virtual void cancel() = 0;
    /// Leave the channel. No other operation is called at the same time or afterwards.
    virtual void close() = 0;

    /// True when every consumer that answers has drained below half of its queue, as far as the
    /// link knows.
    virtual bool isDrained() const = 0;
    /// Event counts of each consumer, as far as the link knows them.
    virtual std::vector<kelp::notification::ConsumerCounts> consumers() const = 0;
    /// See kelp::notification::Channel. Empty for a channel of another process.
    virtual kelp::notification::ConsumerSubscription subscriptionOf(std::int32_t,
                                                                    std::int32_t) const {
        return {};
    }
    virtual kelp::notification::EndedCounts endedConsumersOf(const std::string&) const {
        return {};
    }
};

}  // namespace NS_CORBA
