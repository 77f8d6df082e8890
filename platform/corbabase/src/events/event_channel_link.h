#pragma once

#include <cos/CosNotification.h>
#include <kelp/notification/consumer_counts.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace NS_CORBA {

/// An event that was taken in: shared by all who have to do with it, never changed.
using EventPtr = std::shared_ptr<const CosNotification::StructuredEvent>;

/// The channel that events are handed to, in this process or in another one. deliver(), probe() and
/// tend() belong to the handover's thread, and so does batchMax(); the others may be called by any
/// thread.
class EventChannelLink {
  public:
    enum class Outcome {
        Delivered,
        Refused,     ///< the channel will not have these events; more than one may be refused for
                     ///< one's sake
        Unanswered,  ///< they may or may not have arrived: to be sent again once probe() was
                     ///< answered
    };

    virtual ~EventChannelLink() = default;
    /// Whether deliver() may be called before probe() was answered for the first time.
    virtual bool isConnected() const = 0;
    /// Most events of one call.
    virtual std::size_t batchMax() const = 0;
    virtual Outcome deliver(const std::vector<EventPtr>& events) = 0;
    /// A call that carries no event, connecting first where need be. True when the channel answers.
    virtual bool probe() = 0;
    /// Work of the link's own that is due a few times a second, whether or not there are events.
    /// Waits for nobody.
    virtual void tend() {}
    /// From here on no call is begun; one in progress ends by its time-out.
    virtual void cancel() = 0;
    /// Leaves the channel. Nothing else is called afterwards, nor at the same time.
    virtual void close() = 0;

    /// True when every consumer that answers has drained below half of its queue, as far as this is
    /// known.
    virtual bool isDrained() const = 0;
    /// What became of the events, consumer by consumer, where this is known.
    virtual std::vector<kelp::notification::ConsumerCounts> consumers() const = 0;
};

}  // namespace NS_CORBA
