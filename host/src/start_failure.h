#pragma once

#include "exit_codes.h"

#include <string>

namespace kelp::host {

/// A start that came to nothing: the exit code, and why in one sentence.
struct StartFailure {
    int exitCode = kInternalError;
    std::string why;
};

}  // namespace kelp::host
