#pragma once

#include <kelp/bundlemgr/config_store.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kelp::host {

/// The operation log and the security log, open for the length of a scope.
class AuditUse {
  public:
    /// Notes the configuration that the process starts with in the security log.
    explicit AuditUse(const std::filesystem::path& configFile);
    ~AuditUse();
    AuditUse(const AuditUse&) = delete;
    AuditUse& operator=(const AuditUse&) = delete;
};

/// Notes in the security log what a re-read of the configuration has changed, or, with `problem`,
/// that it was refused; takes over new limits of the logs.
void noteConfigurationRead(const std::vector<NS_BUNDLEMGR1::ConfigChange>& changes,
                           const std::string& problem);

}  // namespace kelp::host
