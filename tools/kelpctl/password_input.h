#pragma once

#include <kelp/util/secret.h>

#include <string>

namespace kelp::ctl {

using util::Secret;

/// Whether a password that is easily guessed will do.
enum class ShortPassword { IsRefused, IsTaken };

/// The first line of a file, or, for an empty name, what is typed at the terminal twice without
/// echo. Never empty, and of at least 8 characters unless a short one is taken. Throws
/// std::runtime_error with one line.
Secret readPassword(const std::string& file, ShortPassword shortOne);

}  // namespace kelp::ctl
