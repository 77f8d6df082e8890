#pragma once

#include <kelp/ior/reference_content.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <string>

namespace kelp::orb {

using ior::decodeReference;
using ior::Endpoint;
using ior::hostAndPort;
using ior::ReferenceContent;

/// Decode the stringified form of a reference. Return false for nil, and for a local object, which
/// has no stringified form.
KELP_EXPORT bool describe(CORBA::ORB_ptr orb, CORBA::Object_ptr reference,
                          ReferenceContent& content);

/// Convert a text to a reference, as string_to_object does, but never to nil: throws
/// CORBA::BAD_PARAM where the ORB would return nil, and whatever string_to_object throws. A
/// corbaname text calls the naming service, so set a time-out with setThreadTimeout() first. The
/// caller owns the result.
KELP_EXPORT CORBA::Object_ptr toReference(CORBA::ORB_ptr orb, const std::string& text);

}  // namespace kelp::orb
