#pragma once

#include <kelp/bundlemgr/config_store.h>

#include <vector>

namespace kelp::host {

/// Check the files that the current configuration names, and those in the state directory by
/// default. Return a problem for each file that other users can write or replace, and for each
/// secret file that they can read, and one for a state that an interrupted restore has left. A
/// missing file is no problem. A problem names the configuration line and key that name the file,
/// or only the file if no key names it.
std::vector<NS_BUNDLEMGR1::ConfigProblem> problemsOfTrust();

}  // namespace kelp::host
