#pragma once

#include <kelp/alarms/event.h>

#include <span>

namespace kelp::alarms {

/// Takes the events of the alarm list to the NMS.
class EventSink {
  public:
    virtual ~EventSink() = default;

    /// Hand events over to the channel, in this order. Return false when there is no channel now;
    /// the same events are then offered again. Called by one thread at a time. An exception counts
    /// as false and is traced.
    virtual bool send(std::span<const Event> events) = 0;
};

}  // namespace kelp::alarms
