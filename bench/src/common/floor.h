#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

#include "harness/child_process.h"

namespace kelp::bench {

/// A running floor server: the ORB alone with servants of the product's interfaces, in a process of
/// its own. SessionPoas: its managers are found as the product's are, each through the servant
/// locator of a POA of its own, among as many POAs as there are sessions at the product.
class Floor {
  public:
    enum class With { BareOrb, OrbPort, SessionPoas };

    /// Throws std::runtime_error when it does not start.
    Floor(With with, std::size_t objects, std::size_t sessions = 0);

    pid_t pid() const { return process_.pid(); }
    /// Stringified references, one of each an object.
    const std::vector<std::string>& sessions() const { return sessions_; }
    const std::vector<std::string>& managers() const { return managers_; }

  private:
    test::ChildProcess process_;
    std::vector<std::string> sessions_;
    std::vector<std::string> managers_;
};

}  // namespace kelp::bench
