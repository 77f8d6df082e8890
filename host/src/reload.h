#pragma once

#include <kelp/bundlemgr/config_store.h>

#include <vector>

namespace kelp::host {

/// What reading the configuration again has done.
struct ReloadResult {
    std::vector<NS_BUNDLEMGR1::ConfigProblem> problems;  ///< if there are any, nothing has changed
    std::vector<NS_BUNDLEMGR1::ConfigChange> changes;
    std::vector<NS_BUNDLEMGR1::ConfigChange> waiting;  ///< these take effect at the next start
};

/// Read the configuration file again, apply it, and record that in the trace and the security log.
/// Any thread may call it; one reload runs at a time.
ReloadResult reloadConfiguration();

}  // namespace kelp::host
