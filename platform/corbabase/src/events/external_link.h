#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <kelp/orb/corba.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>

#include "events/event_channel_link.h"
#include "events/supplier_connection.h"

namespace NS_CORBA {

/// A channel of another process, found by its address. It is looked up again when it disappears.
class ExternalLink final : public EventChannelLink {
  public:
    struct Surroundings {
        CORBA::ORB_var orb;
        /// Time limit of one hand-over. Finding the channel and connecting to it together have the
        /// same limit.
        std::chrono::milliseconds timeout{10000};
        /// Returns the currently configured address.
        std::function<std::string()> address;
        /// Called with each channel that was found.
        std::function<void(CosNotifyChannelAdmin::EventChannel_ptr)> found;
    };

    explicit ExternalLink(Surroundings surroundings) : around_(std::move(surroundings)) {}

    bool isConnected() const override { return false; }
    std::size_t batchMax() const override { return connection_ ? connection_->batchMax() : 1; }
    Outcome handOver(const std::vector<StructuredEventPtr>& events) override;
    bool probe() override;
    void cancel() override { cancelled_ = true; }
    void close() override;
    /// The service alone knows its consumers.
    bool isDrained() const override { return true; }
    std::vector<kelp::notification::ConsumerCounts> consumers() const override { return {}; }

  private:
    bool isAtItsPlace() const { return connection_ && connection_->address() == around_.address(); }
    bool isReachable(const BoundedCalls& calls);
    bool connect(const BoundedCalls& calls);
    void leave();
    Outcome failed(const CORBA::SystemException& failure);
    /// Trace a problem or refusal unless it is the same as the last one.
    void problem(const std::string& why);
    void refused(const std::string& why);

    const Surroundings around_;
    std::atomic<bool> cancelled_{false};
    // used by the handover's thread only
    std::unique_ptr<SupplierConnection> connection_;
    bool answers_ = false;
    std::string lastProblem_;  // cleared when the channel answers
    std::string lastRefusal_;  // cleared when the channel accepts events
};

}  // namespace NS_CORBA
