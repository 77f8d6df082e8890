#pragma once

#include "options.h"

namespace kelp::host {

/// Check the configuration that the options name and print any errors on standard error. Return the
/// exit code.
int checkConfiguration(const Options& options);

/// Start the service, run it until a signal ends it, and stop it in order. Return the exit code.
int runService(const Options& options);

}  // namespace kelp::host
