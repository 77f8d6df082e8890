#pragma once

#include <chrono>
#include <vector>

#include "common/report.h"

namespace kelp::bench {

/// What to measure, how often.
struct NotifyOptions {
    std::vector<std::size_t> consumers{1, 4, 16, 64};
    std::size_t rounds = 7;                 ///< one slice a supplier each
    std::chrono::milliseconds flood{1000};  ///< of one slice
    std::chrono::milliseconds paced{4000};  ///< of one slice at the steady rate
    std::size_t rate = 200;                 ///< events a second of the steady rate
    std::size_t delayConsumers = 16;        ///< at the steady rate
    bool json = false;
};

/// Deliveries a second, processor time and memory: the channel beside a supplier that pushes
/// straight.
std::vector<Figure> measureFlood(const NotifyOptions& options);
/// Delays at a steady rate: the channel beside the straight supplier, and beside itself with bad
/// consumers.
std::vector<Figure> measureDelays(const NotifyOptions& options);

}  // namespace kelp::bench
