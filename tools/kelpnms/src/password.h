#pragma once

#include <stdexcept>
#include <string>

namespace kelp::nms {

/// There is no way to learn the password.
class NoPassword : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The first line of the file, if one is named; else the environment variable KELPNMS_PASSWORD; else what is
/// typed at the terminal, unseen. Throws NoPassword.
std::string readPassword(const std::string& file, const std::string& user);

}  // namespace kelp::nms
