#pragma once

#include <kelp/corbabase/naming_findings.h>

#include <string>

#include "signal_watch.h"

namespace kelp::host {

/// Why the session factory's entry is not bound.
std::string whyNotBound(const NS_CORBA::NamingEntryState& entry);

/// Wait until the session factory is bound in the naming service, or until the first attempt to
/// bind it has failed and was reported. The agent's monitor makes that attempt some seconds after
/// the start. Return the reason why NMS cannot find the factory; empty when they can.
///
/// Wait at most 20 s, which is longer than the monitor's first attempt takes. Return an empty text
/// at once when a stop is requested or no bundle has started the ORB.
std::string awaitFactoryEntry(SignalWatch& signals);

}  // namespace kelp::host
