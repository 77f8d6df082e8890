#pragma once

#include <cos/CosNotification.h>
#include <kelp/orb/corba.h>

#include <memory>
#include <string>
#include <vector>

namespace kelp::bench {

enum class Kind { Structured, Sequence };

/// Events of one batch to a sequence consumer.
constexpr CORBA::Long kBatch = 50;
/// A supplier that floods waits while so many events wait for some consumer.
constexpr std::size_t kMostWaiting = 4000;

/// Brings one event after the other to all its consumers.
class Supplier {
  public:
    virtual ~Supplier() = default;
    virtual void push(const CosNotification::StructuredEvent& event) = 0;
    /// Most events that wait for one of the consumers, the bad ones left aside.
    virtual std::size_t waiting() = 0;
};

/// The product's channel.
std::unique_ptr<Supplier> channelSupplier(CORBA::ORB_ptr orb, Kind kind,
                                          const std::vector<std::string>& consumers,
                                          const std::vector<std::string>& badConsumers,
                                          const std::string& reconnecting);
/// The floor: a thread for each consumer, which makes the ordinary call.
std::unique_ptr<Supplier> straightSupplier(CORBA::ORB_ptr orb,
                                           const std::vector<std::string>& consumers);

}  // namespace kelp::bench
