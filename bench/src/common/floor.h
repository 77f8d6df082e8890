#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

#include "harness/child_process.h"

namespace kelp::bench {

/// A running floor server: a separate process in which the ORB alone serves the product's
/// interfaces. With SessionPoas, it finds its managers as the product does: each is in a separate
/// POA with a servant locator, and there are as many POAs as the product has sessions.
class Floor {
  public:
    enum class With { BareOrb, OrbPort, SessionPoas };

    /// Start the server. Throws std::runtime_error when it does not start.
    Floor(With with, std::size_t objects, std::size_t sessions = 0);

    pid_t pid() const { return process_.pid(); }
    /// Stringified references, one session and one manager for each object.
    const std::vector<std::string>& sessions() const { return sessions_; }
    const std::vector<std::string>& managers() const { return managers_; }

  private:
    test::ChildProcess process_;
    std::vector<std::string> sessions_;
    std::vector<std::string> managers_;
};

}  // namespace kelp::bench
