#include "bench_alarm.h"

#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include <stdexcept>

namespace kelp::bench {

namespace {

void append(CosNotification::FilterableEventBody& fields, const char* name,
            const CORBA::Any& value) {
    const CORBA::ULong at = fields.length();
    fields.length(at + 1);
    fields[at].name = CORBA::string_dup(name);
    fields[at].value = value;
}

template <class Value>
void add(CosNotification::FilterableEventBody& fields, const char* name, const Value& value) {
    CORBA::Any any;
    any <<= value;
    append(fields, name, any);
}

globaldefs::NamingAttributes_T objectName() {
    globaldefs::NamingAttributes_T name;
    name.length(3);
    const char* const parts[3][2] = {{"EMS", "Company/Ems1"},
                                     {"ManagedElement", "4711"},
                                     {"PTP", "/rack=1/shelf=1/slot=7/port=2"}};
    for (CORBA::ULong i = 0; i < name.length(); ++i) {
        name[i].name = CORBA::string_dup(parts[i][0]);
        name[i].value = CORBA::string_dup(parts[i][1]);
    }
    return name;
}

}  // namespace

BenchAlarm::BenchAlarm() {
    event_.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event_.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    event_.header.fixed_header.event_name = CORBA::string_dup("");
    event_.header.variable_header.length(2);
    event_.header.variable_header[0].name = CORBA::string_dup("number");
    event_.header.variable_header[1].name = CORBA::string_dup("sent");
    CosNotification::FilterableEventBody& fields = event_.filterable_data;
    add(fields, "notificationId", "20261121093000.0000000001");
    add(fields, "objectName", objectName());
    add(fields, "nativeEMSName", "Line card 7, port 2");
    add(fields, "nativeProbableCause", "LOS");
    add(fields, "objectType", notifications::OT_PHYSICAL_TERMINATION_POINT);
    add(fields, "objectTypeQualifier", "OT_PHYSICAL_TERMINATION_POINT");
    add(fields, "emsTime", "20261121093000.0Z");
    add(fields, "neTime", "20261121092959.7Z");
    append(fields, "isClearable", [] {
        CORBA::Any any;
        any <<= CORBA::Any::from_boolean(true);
        return any;
    }());
    add(fields, "layerRate", CORBA::Short(20));
    add(fields, "probableCause", "LOS");
    add(fields, "probableCauseQualifier", "");
    add(fields, "perceivedSeverity", notifications::PS_CRITICAL);
    add(fields, "serviceAffecting", notifications::SA_SERVICE_AFFECTING);
    add(fields, "affectedTPList", globaldefs::NamingAttributesList_T());
    add(fields, "additionalText", "Loss of signal at the line side");
    add(fields, "X.733::EventType", "communicationsAlarm");
}

const CosNotification::StructuredEvent& BenchAlarm::numbered(std::uint64_t number) {
    event_.header.variable_header[0].value <<= CORBA::ULongLong(number);
    event_.header.variable_header[1].value <<= static_cast<CORBA::ULongLong>(
        Clock::now().time_since_epoch() / std::chrono::nanoseconds(1));
    return event_;
}

Stamp stampOf(const CosNotification::StructuredEvent& event) {
    CORBA::ULongLong number = 0;
    CORBA::ULongLong sent = 0;
    if (event.header.variable_header.length() != 2 ||
        !(event.header.variable_header[0].value >>= number) ||
        !(event.header.variable_header[1].value >>= sent))
        throw std::runtime_error("not an alarm of this benchmark");
    return {number, Clock::time_point(std::chrono::nanoseconds(sent))};
}

}  // namespace kelp::bench
