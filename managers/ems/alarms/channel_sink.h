#pragma once

#include <kelp/alarms/event_sink.h>

namespace kelp::ems {

/// Hands the events about alarms and about changes of the network over to the notification channel.
class ChannelSink final : public alarms::EventSink {
  public:
    bool send(std::span<const alarms::Event> events) override;
};

}  // namespace kelp::ems
