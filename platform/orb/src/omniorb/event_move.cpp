#include <kelp/orb/event_move.h>

namespace kelp::orb {

namespace {

void moveProperties(CosNotification::PropertySeq& from, CosNotification::PropertySeq& to) {
    const CORBA::ULong maximum = from.maximum();
    const CORBA::ULong length = from.length();
    // null if the sequence does not own a buffer
    if (CosNotification::Property* buffer = from.get_buffer(true))
        to.replace(maximum, length, buffer, true);
    else
        to = from;
}

}  // namespace

void moveEvent(CosNotification::StructuredEvent& from, CosNotification::StructuredEvent& to) {
    CosNotification::FixedEventHeader& source = from.header.fixed_header;
    CosNotification::FixedEventHeader& target = to.header.fixed_header;
    target.event_type.domain_name = source.event_type.domain_name._retn();
    target.event_type.type_name = source.event_type.type_name._retn();
    target.event_name = source.event_name._retn();
    moveProperties(from.header.variable_header, to.header.variable_header);
    moveProperties(from.filterable_data, to.filterable_data);
    to.remainder_of_body.NP_swap(from.remainder_of_body);
}

}  // namespace kelp::orb
