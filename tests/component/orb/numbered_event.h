#pragma once

#include <cos/CosNotification.h>

#include <cstddef>
#include <string>

namespace kelp::test {

/// Return an event whose parts lie at different offsets for every number.
inline CosNotification::StructuredEvent numbered(std::size_t number, std::size_t textSize = 0) {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    event.header.fixed_header.event_name = CORBA::string_dup(std::string(number, 'n').c_str());
    event.header.variable_header.length(1);
    event.header.variable_header[0].name = CORBA::string_dup("Priority");
    event.header.variable_header[0].value <<= CORBA::Short(4);
    event.filterable_data.length(3);
    event.filterable_data[0].name = CORBA::string_dup("text");
    event.filterable_data[0].value <<= std::string(number * 3 + textSize, 't').c_str();
    event.filterable_data[1].name = CORBA::string_dup("number");
    event.filterable_data[1].value <<= CORBA::Double(1.5) * static_cast<CORBA::Double>(number);
    event.filterable_data[2].name = CORBA::string_dup("nested");
    CosNotification::PropertySeq nested;
    nested.length(static_cast<CORBA::ULong>(number % 4));
    for (CORBA::ULong i = 0; i < nested.length(); ++i) {
        nested[i].name = CORBA::string_dup("EMS");
        nested[i].value <<= CORBA::Any::from_boolean(i % 2 == 0);
    }
    event.filterable_data[2].value <<= nested;
    event.remainder_of_body <<= CORBA::Any::from_octet(static_cast<CORBA::Octet>(number));
    return event;
}

}  // namespace kelp::test
