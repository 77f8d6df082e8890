#include "delivery/event.h"

#include <cstring>

#include "delivery/qos.h"
#include "delivery/utc_time.h"

namespace kelp::notification {

namespace {

constexpr const char* kAnyType = "%ANY";

using Clock = std::chrono::steady_clock;

/// The same time on the steady clock; now if it is over.
Clock::time_point fromUtc(std::uint64_t utc) {
    const std::uint64_t now = currentUtc();
    return utc > now ? Clock::now() + fromWireTime(utc - now) : Clock::now();
}

EventQos qosOf(const CosNotification::PropertySeq& header, const EventDefaults& defaults) {
    EventQos qos = defaults.qos;
    for (CORBA::ULong i = 0; i < header.length(); ++i) {
        const auto isNamed = [&](const char* name) {
            return std::strcmp(header[i].name.in(), name) == 0;
        };
        CORBA::Short priority = 0;
        CORBA::ULongLong timeout = 0;
        if (isNamed(CosNotification::Priority) && (header[i].value >>= priority)) {
            qos.priority = priority;
        } else if (isNamed(CosNotification::Timeout) && (header[i].value >>= timeout)) {
            qos.timeout = fromWireTime(timeout);
        } else if (isNamed(CosNotification::StopTime) && defaults.heedsStop) {
            if (const std::optional<std::uint64_t> stop = utcOf(header[i].value))
                qos.stop = fromUtc(*stop);
        }
    }
    return qos;
}

}  // namespace

EventPtr makeEvent(kelp::orb::StructuredEventPtr body, const EventDefaults& defaults) {
    const EventQos qos = qosOf(body->header.variable_header, defaults);
    return std::make_shared<const Event>(std::move(body), Clock::now(), qos);
}

EventPtr makeEvent(const CosNotification::StructuredEvent& body, const EventDefaults& defaults) {
    return makeEvent(std::make_shared<const CosNotification::StructuredEvent>(body), defaults);
}

EventPtr makeEvent(const CORBA::Any& any, const EventDefaults& defaults) {
    const CosNotification::StructuredEvent* structured = nullptr;
    if (any >>= structured)
        return makeEvent(*structured, defaults);
    const auto body = std::make_shared<CosNotification::StructuredEvent>();
    body->header.fixed_header.event_type.domain_name = CORBA::string_dup("");
    body->header.fixed_header.event_type.type_name = CORBA::string_dup(kAnyType);
    body->header.fixed_header.event_name = CORBA::string_dup("");
    body->remainder_of_body = any;
    return makeEvent(kelp::orb::StructuredEventPtr(body), defaults);
}

CORBA::Any asAny(const Event& event) {
    if (std::strcmp(event.body.header.fixed_header.event_type.type_name.in(), kAnyType) == 0)
        return event.body.remainder_of_body;
    CORBA::Any any;
    any <<= event.body;
    return any;
}

}  // namespace kelp::notification
