#pragma once

#include <cos/CosNotification.h>
#include <kelp/orb/corba.h>

#include <memory>
#include <string>
#include <vector>

namespace kelp::bench {

enum class Kind { Structured, Sequence };

/// Events in one batch to a sequence consumer.
constexpr CORBA::Long kBatch = 50;
/// A supplier that floods pauses while this number of events wait for some consumer.
constexpr std::size_t kMostWaiting = 4000;

/// What a supplier outside the channel's process needs, as references in text form.
struct Outside {
    std::string consumer;  ///< a StructuredPushConsumer that accepts the events
    std::string gauge;     ///< a QoSAdmin whose get_qos() returns the number of waiting events
};

/// Delivers one event after the other to all its consumers.
class Supplier {
  public:
    virtual ~Supplier() = default;
    virtual void push(const CosNotification::StructuredEvent& event) = 0;
    /// The largest number of events that wait for one consumer, not counting the bad consumers.
    virtual std::size_t waiting() = 0;
    /// References for an outside supplier: where to push, and where to ask for waiting(). Each call
    /// connects one more supplier. Only the channel has them.
    virtual Outside outside() { return {}; }
};

/// Make a supplier that uses the product's channel.
std::unique_ptr<Supplier> channelSupplier(CORBA::ORB_ptr orb, Kind kind,
                                          const std::vector<std::string>& consumers,
                                          const std::vector<std::string>& badConsumers,
                                          const std::string& reconnecting);
/// Make the floor: a supplier with a thread for each consumer, which makes an ordinary call.
std::unique_ptr<Supplier> straightSupplier(CORBA::ORB_ptr orb,
                                           const std::vector<std::string>& consumers);

/// Make a supplier that pushes to a channel in another process, with ordinary calls.
std::unique_ptr<Supplier> outsideSupplier(CORBA::ORB_ptr orb, const Outside& channel);

}  // namespace kelp::bench
