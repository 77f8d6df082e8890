#pragma once

#include "options.h"

namespace kelp::host {

/// Checks the configuration that the options name and tells what is wrong on standard error. The
/// exit code.
int checkConfiguration(const Options& options);

/// Starts the service, runs until a signal ends it, and stops it in order. The exit code.
int runService(const Options& options);

}  // namespace kelp::host
