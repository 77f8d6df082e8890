#pragma once

#include <kelp/orb/awaited_pushes.h>

#include <chrono>
#include <memory>
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
    /// Send events without waiting, and tell `waiter` when that has ended. Returns false if they
    /// have to be delivered by deliver() now. See orb::AwaitedPushes::push().
    virtual bool send(const std::vector<EventPtr>& /*events*/, kelp::orb::AwaitedPushes& /*pushes*/,
                      std::chrono::milliseconds /*limit*/,
                      const std::shared_ptr<kelp::orb::PushWaiter>& /*waiter*/) {
        return false;
    }
    /// Whether it implements send().
    virtual bool canSend() const { return false; }
    /// Make a call that carries no event and returns when the consumer answers.
    virtual void probe() = 0;
    /// Tell the consumer that it is disconnected.
    virtual void disconnect() = 0;
};

}  // namespace kelp::notification
