#pragma once

#include <vector>

#include "delivery/event.h"

namespace kelp::notification {

/// The remote side of a connected push supplier. Its calls go over the network, are limited by the
/// calling thread's time-out, and raise what the remote call raises.
class ConnectedConsumer {
  public:
    virtual ~ConnectedConsumer() = default;
    /// Maximum number of events in one call.
    virtual std::size_t batchMax() const = 0;
    virtual void deliver(const std::vector<EventPtr>& events) = 0;
    /// Make a call that carries no event and returns when the consumer answers.
    virtual void probe() = 0;
    /// Tell the consumer that it is disconnected.
    virtual void disconnect() = 0;
};

}  // namespace kelp::notification
