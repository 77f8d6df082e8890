#pragma once

#include <vector>

#include "delivery/event.h"

namespace kelp::notification {

/// The far end of a connected push supplier. Its calls go out over the network and are limited by
/// the calling thread's time-out; they raise what the call raises.
class Receiver {
  public:
    virtual ~Receiver() = default;
    /// Most events of one call.
    virtual std::size_t batchMax() const = 0;
    virtual void deliver(const std::vector<EventPtr>& events) = 0;
    /// A call that carries no event and returns when the consumer answers.
    virtual void probe() = 0;
    /// Tells the consumer that it is disconnected.
    virtual void disconnect() = 0;
};

}  // namespace kelp::notification
