#pragma once

#include <kelp/util/secret.h>

#include <stdexcept>
#include <string>

namespace kelp::nms {

/// No password can be obtained.
class NoPassword : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Read the password: the first line of the file if one is named, otherwise the environment
/// variable KELPNMS_PASSWORD, otherwise what the user types at the terminal without echo. Throws
/// NoPassword, or tools::InputInterrupted. Call this before any thread of the process blocks SIGINT
/// and SIGTERM.
util::Secret readPassword(const std::string& file, const std::string& user);

/// Read the password of the private key: the first line of the file if one is named, otherwise
/// empty. Throws NoPassword.
util::Secret readKeyPassword(const std::string& file);

}  // namespace kelp::nms
