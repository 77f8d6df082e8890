#pragma once

#include <kelp/orb/event_sender.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

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
    Event(kelp::orb::EncodedEvent event, std::chrono::steady_clock::time_point acceptedAt,
          const EventQos& eventQos = {})
        : SharedEvent(std::move(event)), accepted(acceptedAt), qos(eventQos) {}

    const std::chrono::steady_clock::time_point accepted;
    const EventQos qos;
};
using EventPtr = std::shared_ptr<const Event>;

/// Qualities for events that bring none, and which of the qualities that events bring count.
struct EventDefaults {
    EventQos qos{};
    bool heedsStop = true;
};

/// Make an event that is accepted now. Its qualities come from its variable header (Priority,
/// Timeout, StopTime), those missing there from `defaults`. A property whose type is not the
/// standard's is ignored.
EventPtr makeEvent(kelp::orb::EncodedEvent body, const EventDefaults& defaults = {});
/// The same with `body`, which must not be null. It is encoded, and kept only if it cannot be.
EventPtr makeEvent(const kelp::orb::StructuredEventPtr& body, const EventDefaults& defaults = {});
/// The same; `body` is encoded.
EventPtr makeEvent(const CosNotification::StructuredEvent& body,
                   const EventDefaults& defaults = {});
/// The same with a copy of an any. If it holds a structured event it becomes that event. Any other
/// becomes the remainder of the body of an event of type "%ANY" (Notification Service 2.1.4).
EventPtr makeEvent(const CORBA::Any& any, const EventDefaults& defaults = {});
/// The event as an any: the inverse of makeEvent().
CORBA::Any asAny(const Event& event);

}  // namespace kelp::notification
