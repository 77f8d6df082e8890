#pragma once

#include <kelp/orb/event_sender.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace kelp::notification {

/// Qualities of service of a single event. The delivering proxy supplies those that are not set.
struct EventQos {
    std::optional<std::int16_t> priority{};
    /// Maximum time from acceptance to delivery; 0: no limit.
    std::optional<std::chrono::milliseconds> timeout{};
    /// Time at which the event expires, unless the proxy ignores it.
    std::optional<std::chrono::steady_clock::time_point> stop{};
};

/// An accepted event. Immutable, shared by all queues.
struct Event : kelp::orb::SharedEvent {
    Event(const CosNotification::StructuredEvent& event,
          std::chrono::steady_clock::time_point takenAt, const EventQos& eventQos = {})
        : SharedEvent(event), taken(takenAt), qos(eventQos) {}

    const std::chrono::steady_clock::time_point taken;
    const EventQos qos;
};
using EventPtr = std::shared_ptr<const Event>;

/// Qualities for events that bring none, and which of the qualities that events bring count.
struct EventDefaults {
    EventQos qos{};
    bool heedsStop = true;
};

/// Accept an event. Its qualities come from its variable header (Priority, Timeout, StopTime),
/// those missing there from `defaults`. A property whose type is not the standard's is ignored.
EventPtr takeIn(const CosNotification::StructuredEvent& body, const EventDefaults& defaults = {});
/// Accept an any. If it holds a structured event it becomes that event. Any other becomes the
/// remainder of the body of an event of type "%ANY" (Notification Service 2.1.4).
EventPtr takeIn(const CORBA::Any& any, const EventDefaults& defaults = {});
/// The event as an any: the inverse of takeIn().
CORBA::Any asAny(const Event& event);

}  // namespace kelp::notification
