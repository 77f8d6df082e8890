#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "alarms/measurements.h"
#include "common/ems.h"
#include "notify/talker.h"

namespace kelp::bench {

/// What one NMS has received.
struct Received {
    std::size_t events = 0;
    std::size_t outOfOrder = 0;  ///< or repeated
    double p50Ms = 0;
    double p99Ms = 0;
};

/// NMS that are logged in and consume events, each in a separate process.
class Followers {
  public:
    Followers(const Ems& ems, std::size_t count, Reads reads);
    ~Followers();
    Followers(const Followers&) = delete;
    Followers& operator=(const Followers&) = delete;

    void reset();
    /// Wait until each has `events` events, or until none gets any more within 20 s.
    void waitFor(std::size_t events);
    /// What each has received after another second, in which repeated events would arrive.
    std::vector<Received> received();
    /// The processor time that all of them have used.
    std::chrono::nanoseconds processorTime();

  private:
    std::vector<Received> ask();

    NmsFarm farm_;
    std::vector<emsSession::EmsSession_I_var> sessions_;
    std::list<Talker> consumers_;
};

}  // namespace kelp::bench
