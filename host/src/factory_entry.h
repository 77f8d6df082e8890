#pragma once

#include <string>

#include "signal_watch.h"

namespace kelp::host {

/// Waits until the session factory stands in the naming service, or the first attempt to enter it
/// has failed and was reported: the agent's monitor begins with it some seconds after the start.
/// Gives up after a limit that the monitor's calls stay within, and at once when a stop is asked
/// for or no bundle has started the ORB. What keeps the factory from being found; empty: nothing.
std::string awaitFactoryEntry(SignalWatch& signals);

}  // namespace kelp::host
