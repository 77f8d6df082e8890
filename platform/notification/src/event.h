#pragma once

#include <kelp/orb/event_sender.h>

#include <chrono>
#include <memory>

namespace kelp::notification {

/// An event from its taking-in on: never changed, shared by all queues.
struct Event : kelp::orb::SharedEvent {
    Event(const CosNotification::StructuredEvent& event, std::chrono::steady_clock::time_point takenAt)
        : SharedEvent(event), taken(takenAt) {}

    const std::chrono::steady_clock::time_point taken;
};
using EventPtr = std::shared_ptr<const Event>;

EventPtr takeIn(const CosNotification::StructuredEvent& body);
/// An Any that holds a structured event is that event; any other becomes the remainder of the body of an
/// event of type "%ANY" (Notification Service 2.1.4).
EventPtr takeIn(const CORBA::Any& any);
/// The other way round.
CORBA::Any asAny(const Event& event);

}  // namespace kelp::notification
