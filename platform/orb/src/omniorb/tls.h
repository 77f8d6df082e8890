#pragma once

#include <kelp/orb/orb.h>

#include "option_table.h"

namespace kelp::orb {

/// Adds what TLS needs to the ORB's options, if the caller asked for TLS. Throws CORBA::BAD_PARAM, with
/// the reason in the trace, when there are no certificates or they cannot be used.
void addTlsOptions(const OrbOptions& options, OptionTable& table);

/// The transport's own notice, at each start, that it was given no certificates: usual, and no fault.
bool isTlsUnusedNotice(const std::string& orbLogLine);

}  // namespace kelp::orb
