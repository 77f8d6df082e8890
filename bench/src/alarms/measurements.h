#pragma once

#include <kelp/nms/client.h>

#include <chrono>
#include <cstddef>
#include <vector>

#include "common/report.h"

namespace kelp::bench {

/// How a consumer reads events: as a servant of an ORB, or their octets only, which costs the
/// machine a fraction of the processor time.
enum class Reads { Decoding, Raw };

/// The options of alarm_bench: what to measure, for how long.
struct AlarmOptions {
    std::size_t consumers = 10;
    std::size_t rate = 5000;  ///< sustained, in alarms a second
    std::chrono::seconds sustained{60};
    std::size_t alarmsAPost = 50;
    Reads reads = Reads::Raw;        ///< of the consumers meanwhile
    std::size_t latencyRate = 1000;  ///< for the latencies, in alarms a second
    std::size_t latencyPost = 10;    ///< alarms in a request meanwhile
    std::chrono::seconds latency{30};
    std::size_t active = 100'000;  ///< active alarms at the restart and in the list
    std::size_t restarts = 3;
    std::size_t listRounds = 9;  ///< readings of the list, each from both servers
    bool json = false;
};

/// Post alarms at the sustained rate. Figures: the rate that was reached, events lost, and the
/// host's memory. Throws std::runtime_error and CORBA::Exception.
std::vector<Figure> measureSustained(nms::NmsClient& client, const AlarmOptions& options);
/// Measure the time from the start of the intake call until a consumer has the event.
std::vector<Figure> measureLatency(nms::NmsClient& client, const AlarmOptions& options);
/// Measure the time from the start of a host that was killed until it has served a log-in. Throws
/// std::runtime_error if a log-in is served before the list is complete.
std::vector<Figure> measureRestart(nms::NmsClient& client, const AlarmOptions& options);

/// Measure reading the list of active alarms by an iterator, compared with a bare servant that has
/// the same events in memory. Throws std::runtime_error if they do not give the same batches.
std::vector<Figure> measureList(nms::NmsClient& client, const AlarmOptions& options);

}  // namespace kelp::bench
