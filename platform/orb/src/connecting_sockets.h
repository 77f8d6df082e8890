#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>

namespace kelp::orb {

/// The process's sockets that wait for their connection to be established. The ORB shows a socket
/// only when it is connected, so they are searched for among the process's descriptors. Not thread
/// safe.
class ConnectingSockets {
  public:
    using Clock = std::chrono::steady_clock;

    /// Shut down the sockets that were first seen `age` ago or earlier. Whoever waits for one of
    /// them fails at once.
    void shutOlderThan(std::chrono::milliseconds age, Clock::time_point now);
    /// Forget all sockets seen so far.
    void forget() { seen_.clear(); }

  private:
    std::map<ino_t, Clock::time_point> seen_;  ///< by the socket's inode number
};

}  // namespace kelp::orb
