#include "event.h"

#include <cstring>

#include "qos.h"

namespace kelp::notification {

namespace {

constexpr const char* kAnyType = "%ANY";

EventQos qosOf(const CosNotification::PropertySeq& header, const EventQos& defaults) {
    EventQos qos = defaults;
    for (CORBA::ULong i = 0; i < header.length(); ++i) {
        CORBA::Short priority = 0;
        CORBA::ULongLong timeout = 0;
        if (std::strcmp(header[i].name.in(), CosNotification::Priority) == 0 &&
            (header[i].value >>= priority))
            qos.priority = priority;
        else if (std::strcmp(header[i].name.in(), CosNotification::Timeout) == 0 &&
                 (header[i].value >>= timeout))
            qos.timeout = fromWireTime(timeout);
    }
    return qos;
}

}  // namespace

EventPtr takeIn(const CosNotification::StructuredEvent& body, const EventQos& defaults) {
    return std::make_shared<const Event>(body, std::chrono::steady_clock::now(),
                                         qosOf(body.header.variable_header, defaults));
}

EventPtr takeIn(const CORBA::Any& any, const EventQos& defaults) {
    const CosNotification::StructuredEvent* structured = nullptr;
    if (any >>= structured)
        return takeIn(*structured, defaults);
    CosNotification::StructuredEvent body;
    body.header.fixed_header.event_type.domain_name = CORBA::string_dup("");
    body.header.fixed_header.event_type.type_name = CORBA::string_dup(kAnyType);
    body.header.fixed_header.event_name = CORBA::string_dup("");
    body.remainder_of_body = any;
    return takeIn(body, defaults);
}

CORBA::Any asAny(const Event& event) {
    if (std::strcmp(event.body.header.fixed_header.event_type.type_name.in(), kAnyType) == 0)
        return event.body.remainder_of_body;
    CORBA::Any any;
    any <<= event.body;
    return any;
}

}  // namespace kelp::notification
