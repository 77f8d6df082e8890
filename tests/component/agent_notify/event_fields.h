#pragma once

#include <cos/CosNotification.h>
#include <kelp/orb/corba.h>
#include <mtnm/globaldefs.h>

#include <initializer_list>
#include <utility>

namespace NS_KELPCORBA::test {

/// Append a property and return its value to be filled in.
inline CORBA::Any& addField(CosNotification::StructuredEvent& event, const char* name) {
    CosNotification::PropertySeq& data = event.filterable_data;
    data.length(data.length() + 1);
    CosNotification::Property& property = data[data.length() - 1];
    property.name = CORBA::string_dup(name);
    return property.value;
}

inline globaldefs::NVSList_T pairs(
    std::initializer_list<std::pair<const char*, const char*>> named) {
    globaldefs::NVSList_T made;
    for (const auto& [name, value] : named) {
        made.length(made.length() + 1);
        made[made.length() - 1].name = CORBA::string_dup(name);
        made[made.length() - 1].value = CORBA::string_dup(value);
    }
    return made;
}

}  // namespace NS_KELPCORBA::test
