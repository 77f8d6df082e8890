#pragma once

namespace kelp::host {

/// The exit codes of kelpd. Its help documents them.
enum ExitCode : int {
    kStopped = 0,
    kInternalError = 1,
    kUsageError = 2,
    kConfigurationError = 3,
    kNamingServiceError = 4,
    kStartError = 5,
    kAdminError = 6,
};

}  // namespace kelp::host
