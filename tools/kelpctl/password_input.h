#pragma once

#include "common/secret.h"

#include <string>

namespace kelp::ctl {

using tools::Secret;

/// The first line of a file, or, for an empty name, what is typed at the terminal twice without echo. Never
/// empty. Throws std::runtime_error with one line.
Secret readPassword(const std::string& file);

}  // namespace kelp::ctl
