#include "events/ne_time.h"

#include <cstring>

namespace NS_CORBA {

namespace {

constexpr const char* kDomain = "tmf_mtnm";
constexpr const char* kHeartbeat = "NT_HEARTBEAT";

CosNotification::Property* fieldNamed(CosNotification::PropertySeq& fields, const char* name) {
    for (CORBA::ULong i = 0; i < fields.length(); ++i) {
        if (std::strcmp(fields[i].name, name) == 0)
            return &fields[i];
    }
    return nullptr;
}

/// Return the field's text; empty for a field that is missing or not a text.
const char* textOf(const CosNotification::Property* field) {
    const char* text = nullptr;
    return field != nullptr && (field->value >>= text) ? text : "";
}

/// Whether neTime is missing or an empty text. A field of another type is left as its source wrote
/// it.
bool isUnsaid(const CosNotification::Property* neTime) {
    const char* text = nullptr;
    return neTime == nullptr || ((neTime->value >>= text) && *text == '\0');
}

}  // namespace

void fillNeTime(CosNotification::StructuredEvent& event) {
    const CosNotification::EventType& type = event.header.fixed_header.event_type;
    if (std::strcmp(type.domain_name, kDomain) != 0 || std::strcmp(type.type_name, kHeartbeat) == 0)
        return;
    CosNotification::PropertySeq& fields = event.filterable_data;
    CosNotification::Property* neTime = fieldNamed(fields, "neTime");
    if (!isUnsaid(neTime))
        return;
    const CORBA::String_var emsTime = CORBA::string_dup(textOf(fieldNamed(fields, "emsTime")));
    if (*emsTime.in() == '\0')
        return;
    if (neTime == nullptr) {
        fields.length(fields.length() + 1);
        neTime = &fields[fields.length() - 1];
        neTime->name = CORBA::string_dup("neTime");
    }
    neTime->value <<= emsTime.in();
}

}  // namespace NS_CORBA
