#include "event.h"

#include <cstring>

namespace kelp::notification {

namespace {
constexpr const char* kAnyType = "%ANY";
}

EventPtr takeIn(const CosNotification::StructuredEvent& body) {
    return std::make_shared<const Event>(body, std::chrono::steady_clock::now());
}

EventPtr takeIn(const CORBA::Any& any) {
    const CosNotification::StructuredEvent* structured = nullptr;
    if (any >>= structured)
        return takeIn(*structured);
    CosNotification::StructuredEvent body;
    body.header.fixed_header.event_type.domain_name = CORBA::string_dup("");
    body.header.fixed_header.event_type.type_name = CORBA::string_dup(kAnyType);
    body.header.fixed_header.event_name = CORBA::string_dup("");
    body.remainder_of_body = any;
    return takeIn(body);
}

CORBA::Any asAny(const Event& event) {
    if (std::strcmp(event.body.header.fixed_header.event_type.type_name.in(), kAnyType) == 0)
        return event.body.remainder_of_body;
    CORBA::Any any;
    any <<= event.body;
    return any;
}

}  // namespace kelp::notification
