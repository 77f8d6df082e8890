#pragma once

#include <kelp/util/secret.h>

#include <string>

namespace kelp::ctl {

using util::Secret;

/// Whether a short password, which is easily guessed, is refused or accepted.
enum class ShortPassword { IsRefused, IsTaken };

/// Read the password: the first line of a file, or, for an empty file name, what the user types
/// twice at the terminal without echo. The password is never empty. It has at least 8 characters
/// unless a short one is accepted. Throws std::runtime_error with one line.
Secret readPassword(const std::string& file, ShortPassword shortOne);

/// Read a password that exists already: the first line of a file, or, for an empty file name, what
/// the user types once at the terminal without echo. The password is never empty. Throws
/// std::runtime_error with one line.
Secret readExistingPassword(const std::string& file);

}  // namespace kelp::ctl
