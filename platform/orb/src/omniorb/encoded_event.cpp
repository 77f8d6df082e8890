#include <kelp/orb/encoded_event.h>

#include <utility>

#include "omniorb/encoded_events.h"

namespace kelp::orb {

EncodedEvent::EncodedEvent(const CosNotification::StructuredEvent& event)
    : EncodedEvent(EncodedEvents::encoded(event, nullptr)) {}

EncodedEvent::EncodedEvent(const StructuredEventPtr& event)
    : EncodedEvent(EncodedEvents::encoded(*event, event)) {}

EncodedEvent::EncodedEvent(EncodedEvent&&) noexcept = default;
EncodedEvent& EncodedEvent::operator=(EncodedEvent&&) noexcept = default;
EncodedEvent::~EncodedEvent() = default;

CosNotification::StructuredEvent EncodedEvent::decoded() const {
    if (whole_)
        return *whole_;
    CosNotification::StructuredEvent event;
    EncodedEvents::decode(*this, 0, event);
    return event;
}

CORBA::Any EncodedEvent::anyAt(std::uint32_t at) const {
    CORBA::Any any;
    EncodedEvents::decode(*this, at, any);
    return any;
}

}  // namespace kelp::orb
