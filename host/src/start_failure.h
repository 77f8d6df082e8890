#pragma once

#include <string>

#include "exit_codes.h"

namespace kelp::host {

/// A start that came to nothing: the exit code, and why in one sentence.
struct StartFailure {
    int exitCode = kInternalError;
    std::string why;
};

}  // namespace kelp::host
