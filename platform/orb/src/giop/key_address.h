#pragma once

#include "giop/octet_buffer.h"
#include "giop/request_header.h"

namespace kelp::orb::giop {

/// Append to `made` the same request, addressed by its object key instead of a profile or a
/// reference (CORBA 15.4.2.2). Return false when there is no memory for it.
bool addressByKey(Octets message, const MessageHeader& header, const RequestHeader& request,
                  OctetBuffer& made);

}  // namespace kelp::orb::giop
