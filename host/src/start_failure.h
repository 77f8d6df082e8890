#pragma once

#include <string>

#include "exit_codes.h"

namespace kelp::host {

/// A failed start: the exit code, and the reason in one sentence.
struct StartFailure {
    int exitCode = kInternalError;
    std::string why;
};

}  // namespace kelp::host
