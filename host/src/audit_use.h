#pragma once

#include <kelp/bundlemgr/config_store.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kelp::host {

/// Keeps the operation log and the security log open for the duration of a scope.
class AuditUse {
  public:
    /// Open the logs and record in the security log which configuration the process starts with.
    explicit AuditUse(const std::filesystem::path& configFile);
    ~AuditUse();
    AuditUse(const AuditUse&) = delete;
    AuditUse& operator=(const AuditUse&) = delete;
};

/// Record in the security log which settings a re-read of the configuration has changed, or, with a
/// `problem`, that the new configuration was refused. Also apply new limits of the logs.
void noteConfigurationRead(const std::vector<NS_BUNDLEMGR1::ConfigChange>& changes,
                           const std::string& problem);

}  // namespace kelp::host
