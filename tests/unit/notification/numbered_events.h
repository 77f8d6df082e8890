#pragma once

#include <cstdlib>
#include <string>

#include "delivery/event.h"

namespace kelp::notification::test {

/// Return the content of an event whose name is a number.
inline kelp::orb::StructuredEventPtr sharedBody(int number) {
    CosNotification::StructuredEvent body;
    body.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    body.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    body.header.fixed_header.event_name = CORBA::string_dup(std::to_string(number).c_str());
    return std::make_shared<const CosNotification::StructuredEvent>(body);
}

/// Return an event whose name is a number.
inline EventPtr event(
    int number, std::chrono::steady_clock::time_point accepted = std::chrono::steady_clock::now()) {
    return std::make_shared<const Event>(kelp::orb::EncodedEvent(sharedBody(number)), accepted);
}

inline int numberOf(const kelp::orb::EventView& event) {
    return std::atoi(event.eventName());
}

/// Return 0 if there is no event.
inline int numberOf(const EventPtr& event) {
    return event ? numberOf(event->view()) : 0;
}

}  // namespace kelp::notification::test
