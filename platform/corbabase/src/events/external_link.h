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

/// A channel of another process, found by its address and found again when it went away.
class ExternalLink final : public EventChannelLink {
  public:
    struct Surroundings {
        CORBA::ORB_var orb;
        /// Limit of one delivery, and of finding the channel and connecting to it together.
        std::chrono::milliseconds timeout{10000};
        /// The address as it is configured at the moment.
        std::function<std::string()> address;
        /// Told of each channel that was found.
        std::function<void(CosNotifyChannelAdmin::EventChannel_ptr)> found;
    };

    explicit ExternalLink(Surroundings surroundings) : around_(std::move(surroundings)) {}

    bool isConnected() const override { return false; }
    std::size_t batchMax() const override { return connection_ ? connection_->batchMax() : 1; }
    Outcome deliver(const std::vector<EventPtr>& events) override;
    bool probe() override;
    void cancel() override { cancelled_ = true; }
    void close() override;
    /// Its consumers are its own.
    bool isDrained() const override { return true; }
    std::vector<kelp::notification::ConsumerCounts> consumers() const override { return {}; }

  private:
    bool isAtItsPlace() const { return connection_ && connection_->address() == around_.address(); }
    bool isReachable(const BoundedCalls& calls);
    bool connect(const BoundedCalls& calls);
    void leave();
    Outcome failed(const CORBA::SystemException& failure);
    /// Trace what was not the last one of its kind.
    void problem(const std::string& why);
    void refused(const std::string& why);

    const Surroundings around_;
    std::atomic<bool> cancelled_{false};
    // the thread's own
    std::unique_ptr<SupplierConnection> connection_;
    bool answers_ = false;
    std::string lastProblem_;  // until it answers
    std::string lastRefusal_;  // until it takes events
};

}  // namespace NS_CORBA
