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

void setStop(EventQos& qos, const CORBA::Any& value) {
    if (const std::optional<std::uint64_t> stop = utcOf(value))
        qos.stop = fromUtc(*stop);
}

EventQos qosOf(const kelp::orb::EventProperties& header, const EventDefaults& defaults) {
    EventQos qos = defaults.qos;
    header.forEach([&](const kelp::orb::EventProperty& property) {
        const auto isNamed = [&](const char* name) {
            return std::strcmp(property.name, name) == 0;
        };
        CORBA::Short priority = 0;
        CORBA::ULongLong timeout = 0;
        if (isNamed(CosNotification::Priority)) {
            if (property.value.with([&](const CORBA::Any& any) { return any >>= priority; }))
                qos.priority = priority;
        } else if (isNamed(CosNotification::Timeout)) {
            if (property.value.with([&](const CORBA::Any& any) { return any >>= timeout; }))
                qos.timeout = fromWireTime(timeout);
        } else if (isNamed(CosNotification::StopTime) && defaults.heedsStop) {
            property.value.with([&](const CORBA::Any& any) { setStop(qos, any); });
        }
    });
    return qos;
}

}  // namespace

EventPtr makeEvent(kelp::orb::EncodedEvent body, const EventDefaults& defaults) {
    const EventQos qos = qosOf(kelp::orb::EventView(body).variableHeader(), defaults);
    return std::make_shared<const Event>(std::move(body), Clock::now(), qos);
}

EventPtr makeEvent(const kelp::orb::StructuredEventPtr& body, const EventDefaults& defaults) {
    return makeEvent(kelp::orb::EncodedEvent(body), defaults);
}

EventPtr makeEvent(const CosNotification::StructuredEvent& body, const EventDefaults& defaults) {
    return makeEvent(kelp::orb::EncodedEvent(body), defaults);
}

EventPtr makeEvent(const CORBA::Any& any, const EventDefaults& defaults) {
    const CosNotification::StructuredEvent* structured = nullptr;
    if (any >>= structured)
        return makeEvent(*structured, defaults);
    CosNotification::StructuredEvent body;
    body.header.fixed_header.event_type.domain_name = CORBA::string_dup("");
    body.header.fixed_header.event_type.type_name = CORBA::string_dup(kAnyType);
    body.header.fixed_header.event_name = CORBA::string_dup("");
    body.remainder_of_body = any;
    return makeEvent(body, defaults);
}

CORBA::Any asAny(const Event& event) {
    const kelp::orb::EventView view = event.view();
    if (std::strcmp(view.typeName(), kAnyType) == 0)
        return view.remainderOfBody().decoded();
    CORBA::Any any;
    any <<= event.decoded();
    return any;
}

}  // namespace kelp::notification
