#pragma once

#include <chrono>
#include <vector>

#include "common/report.h"

namespace kelp::bench {

/// The options of notify_bench: what to measure and how often.
struct NotifyOptions {
    std::vector<std::size_t> consumers{1, 4, 16, 64};
    std::size_t rounds = 7;                 ///< each round has one slice for each supplier
    std::chrono::milliseconds flood{1000};  ///< length of a slice
    std::chrono::milliseconds paced{4000};  ///< length of a slice at the steady rate
    std::size_t rate = 200;                 ///< the steady rate in events a second
    std::size_t delayConsumers = 16;        ///< consumers at the steady rate
    bool json = false;
};

/// Measure deliveries a second, processor time and memory of the channel, compared with a supplier
/// that pushes directly.
std::vector<Figure> measureFlood(const NotifyOptions& options);
/// Measure the same for single events of a supplier in another process, which the channel receives
/// over a connection. The direct supplier is the same as in measureFlood().
std::vector<Figure> measureOutside(const NotifyOptions& options);
/// Measure delays at a steady rate: the channel compared with the direct supplier, and the channel
/// with and without bad consumers.
std::vector<Figure> measureDelays(const NotifyOptions& options);

}  // namespace kelp::bench
