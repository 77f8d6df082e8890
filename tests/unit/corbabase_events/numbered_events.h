#pragma once

#include <string>
#include <vector>

#include "events/event_channel_link.h"

namespace NS_CORBA::test {

inline StructuredEventPtr numbered(int number, const char* type = "NT_ALARM") {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.type_name = CORBA::string_dup(type);
    event.header.fixed_header.event_name = CORBA::string_dup(std::to_string(number).c_str());
    return std::make_shared<const CosNotification::StructuredEvent>(event);
}

inline std::vector<StructuredEventPtr> numbered(int first, int last) {
    std::vector<StructuredEventPtr> events;
    for (int i = first; i <= last; ++i)
        events.push_back(numbered(i));
    return events;
}

inline int numberOf(const CosNotification::StructuredEvent& event) {
    return std::stoi(event.header.fixed_header.event_name.in());
}

}  // namespace NS_CORBA::test
