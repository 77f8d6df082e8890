#pragma once

#include <kelp/oplog/security_log.h>
#include <kelp/util/flood_summary.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace NS_CORBA {

/// Keeps floods of refusals out of the security log: which refusals stand there individually, and
/// the summaries of the others. Not thread safe.
class RefusalSummary {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Refusals of one event, outcome and address that are logged individually within the period.
    static constexpr unsigned kSingly = 20;
    static constexpr std::chrono::seconds kPeriod{60};

    explicit RefusalSummary(std::size_t addressesMax = 1000)
        : floods_(kSingly, kPeriod, addressesMax) {}

    /// True when the record is to be written by itself; otherwise it is counted.
    bool standsByItself(const kelp::oplog::SecurityRecord& record, Time now);
    /// One record for each kind and address whose period is over and that has some counted; those
    /// periods end.
    std::vector<kelp::oplog::SecurityRecord> take(Time now);
    /// The same, for all whose period is not over too.
    std::vector<kelp::oplog::SecurityRecord> takeAll();

  private:
    using Kind = std::pair<kelp::oplog::SecurityEvent, std::string>;  // outcome
    using Floods = kelp::util::FloodSummary<Kind>;

    Floods floods_;
};

/// The address of "address:port"; of anything else the text itself.
std::string withoutPort(const std::string& peer);
/// The words of a summary: "12 more until 2025-03-01T12:00:00.123Z".
std::string countedText(std::uint64_t count, kelp::oplog::UtcTime last);

}  // namespace NS_CORBA
