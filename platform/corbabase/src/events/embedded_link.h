#pragma once

#include <kelp/notification/channel.h>
#include <kelp/users/oss_networks.h>

#include "events/event_channel_link.h"

namespace NS_CORBA {

/// The channel of this process, configured by [notification]. Only peers at addresses with a live
/// log-in may use it. The objects that an NMS creates in the channel belong to its log-in. When the
/// log-in has ended, they are destroyed after a grace period of one ping interval, unless the NMS
/// logs in again.
class EmbeddedLink final : public EventChannelLink {
  public:
    /// Create the channel. Throws what the ORB throws. `listener` must outlive the link.
    EmbeddedLink(CORBA::ORB_ptr orb, kelp::notification::LossListener& listener);

    CosNotifyChannelAdmin::EventChannel_ptr reference() const { return channel_.reference(); }

    bool isConnected() const override { return true; }
    std::size_t batchMax() const override { return 1; }
    Outcome handOver(const std::vector<StructuredEventPtr>& events) override;
    bool probe() override { return true; }
    void cancel() override {}
    void close() override { channel_.stop(); }
    void tend() override { channel_.review(std::chrono::steady_clock::now()); }
    bool isDrained() const override { return channel_.isDrained(); }
    std::vector<kelp::notification::ConsumerCounts> consumers() const override {
        return channel_.consumers();
    }
    kelp::notification::ConsumerSubscription subscriptionOf(std::int32_t admin,
                                                            std::int32_t proxy) const override {
        return channel_.subscriptionOf(admin, proxy);
    }
    kelp::notification::EndedCounts endedConsumersOf(const std::string& owner) const override {
        return channel_.endedConsumersOf(owner);
    }

  private:
    class LoggedInPeers final : public kelp::notification::Guard {
      public:
        LoggedInPeers();
        bool mayUse(const kelp::util::PeerAddress& peer) const override;
        bool mayCall(CORBA::Object_ptr reference) const override;
        bool maySupply(const kelp::util::PeerAddress& peer) const override;
        std::vector<kelp::notification::LogIn> logInsOf(
            const kelp::orb::RequestInfo& request) const override;
        bool isLive(const std::string& logIn) const override;

      private:
        kelp::users::OssNetworks suppliers_;
    };

    const LoggedInPeers guard_;  // the channel uses it until it is destroyed
    kelp::notification::Channel channel_;
};

}  // namespace NS_CORBA
