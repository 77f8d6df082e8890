#pragma once

#include <kelp/util/secret.h>

#include <stdexcept>
#include <string>

namespace kelp::nms {

/// There is no way to learn the password.
class NoPassword : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The first line of the file, if one is named; else the environment variable KELPNMS_PASSWORD;
/// else what is typed at the terminal, unseen. Throws NoPassword, or tools::InputInterrupted, for
/// which no thread of the process may have taken the signals yet.
util::Secret readPassword(const std::string& file, const std::string& user);

/// The password of the private key, out of the first line of the file, if one is named; else empty.
/// Throws NoPassword.
util::Secret readKeyPassword(const std::string& file);

}  // namespace kelp::nms
