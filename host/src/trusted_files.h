#pragma once

#include <kelp/bundlemgr/config_store.h>

#include <vector>

namespace kelp::host {

/// What keeps the host from relying on the files that the configuration in force names, and on
/// those that lie in the state directory by default: somebody else can write or exchange them, or
/// read the secret ones. Missing files are no problem. A problem stands with the line and the key
/// of the file, or with the file alone when no key names it.
std::vector<NS_BUNDLEMGR1::ConfigProblem> problemsOfTrust();

}  // namespace kelp::host
