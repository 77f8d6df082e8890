#include "events/event_extract.h"

#include "text/any_json.h"

namespace kelp::nms {

EventRecord recordOf(const CosNotification::StructuredEvent& event) {
    EventRecord record;
    record.type = event.header.fixed_header.event_type.type_name.in();
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i)
        record.fields.emplace(event.filterable_data[i].name.in(),
                              asJson(event.filterable_data[i].value));
    return record;
}

}  // namespace kelp::nms
