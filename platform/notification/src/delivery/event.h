#pragma once

#include <kelp/orb/event_sender.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace kelp::notification {

/// Qualities of service of a single event. What is none is left to the proxy that delivers it.
struct EventQos {
    std::optional<std::int16_t> priority{};
    /// How long after it was taken in it may be delivered; 0: without limit.
    std::optional<std::chrono::milliseconds> timeout{};
    /// When it expires at the latest, unless the proxy does not heed that.
    std::optional<std::chrono::steady_clock::time_point> stop{};
};

/// An event from its taking-in on: never changed, shared by all queues.
struct Event : kelp::orb::SharedEvent {
    Event(const CosNotification::StructuredEvent& event,
          std::chrono::steady_clock::time_point takenAt, const EventQos& eventQos = {})
        : SharedEvent(event), taken(takenAt), qos(eventQos) {}

    const std::chrono::steady_clock::time_point taken;
    const EventQos qos;
};
using EventPtr = std::shared_ptr<const Event>;

/// What an event that brings no qualities has, and which of those that it brings are heeded.
struct EventDefaults {
    EventQos qos{};
    bool heedsStop = true;
};

/// The qualities come from the event's variable header (Priority, Timeout, StopTime) and, where it
/// has none, from `defaults`. A property of another type than the standard's is none.
EventPtr takeIn(const CosNotification::StructuredEvent& body, const EventDefaults& defaults = {});
/// An Any that holds a structured event is that event; any other becomes the remainder of the body
/// of an event of type "%ANY" (Notification Service 2.1.4).
EventPtr takeIn(const CORBA::Any& any, const EventDefaults& defaults = {});
/// The other way round.
CORBA::Any asAny(const Event& event);

}  // namespace kelp::notification
