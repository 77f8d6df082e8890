#pragma once

#include <kelp/notification/channel.h>

#include "event_channel_link.h"

namespace NS_CORBA {

/// The channel of this process, configured by [notification].
class EmbeddedLink final : public EventChannelLink {
  public:
    /// Makes the channel. Throws what the ORB throws. `listener` must outlive it.
    EmbeddedLink(CORBA::ORB_ptr orb, kelp::notification::LossListener& listener);

    CosNotifyChannelAdmin::EventChannel_ptr reference() const { return channel_.reference(); }

    bool isConnected() const override { return true; }
    std::size_t batchMax() const override { return 1; }
    Outcome deliver(const std::vector<EventPtr>& events) override;
    bool probe() override { return true; }
    void cancel() override {}
    void close() override { channel_.stop(); }
    bool isDrained() const override { return channel_.isDrained(); }
    std::vector<kelp::notification::ConsumerCounts> consumers() const override {
        return channel_.consumers();
    }

  private:
    kelp::notification::Channel channel_;
};

}  // namespace NS_CORBA
