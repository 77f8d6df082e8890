#pragma once

#include <cos/CosNotification.h>
#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include <string>

namespace kelp::test {

/// An alarm of 17 fields, about 1.2 KB long.
inline CosNotification::StructuredEvent fullAlarm() {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    event.header.fixed_header.event_name = CORBA::string_dup("");
    event.filterable_data.length(17);
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        event.filterable_data[i].name = CORBA::string_dup(("field" + std::to_string(i)).c_str());
        switch (i % 4) {
            case 0: {
                globaldefs::NamingAttributes_T name;
                name.length(2);
                name[0].name = CORBA::string_dup("EMS");
                name[0].value = CORBA::string_dup("Company/Ems1");
                event.filterable_data[i].value <<= name;
                break;
            }
            case 1:
                event.filterable_data[i].value <<= notifications::PS_CRITICAL;
                break;
            case 2:
                event.filterable_data[i].value <<= CORBA::ULongLong(i);
                break;
            default:
                event.filterable_data[i].value <<= "Loss of signal at the line side";
                break;
        }
    }
    return event;
}

}  // namespace kelp::test
