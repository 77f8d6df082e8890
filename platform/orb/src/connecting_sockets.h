#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>

namespace kelp::orb {

/// The process's sockets that wait for their connection to be accepted. The ORB shows a socket only
/// when it is connected, so they are found among the process's descriptors. Not thread safe.
class ConnectingSockets {
  public:
    using Clock = std::chrono::steady_clock;

    /// Gives up those that were seen for the first time `age` ago, or longer: whoever waits for one
    /// of them fails at once.
    void shutOlderThan(std::chrono::milliseconds age, Clock::time_point now);
    /// What was seen counts no more.
    void forget() { seen_.clear(); }

  private:
    std::map<ino_t, Clock::time_point> seen_;  ///< by the socket's own number
};

}  // namespace kelp::orb
