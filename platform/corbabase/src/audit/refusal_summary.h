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

/// Keeps floods of refusals out of the security log: decides which refusals are logged
/// individually, and summarises the others. Not thread safe.
class RefusalSummary {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Maximum number of refusals of one event, outcome and address logged individually within the
    /// period.
    static constexpr unsigned kSingly = 20;
    static constexpr std::chrono::seconds kPeriod{60};

    explicit RefusalSummary(std::size_t addressesMax = 1000)
        : floods_(kSingly, kPeriod, addressesMax) {}

    /// True when the record must be written individually; otherwise it is counted.
    bool standsByItself(const kelp::oplog::SecurityRecord& record, Time now);
    /// Return one summary for each kind and address that has counted refusals and whose period is
    /// over. Those periods end.
    std::vector<kelp::oplog::SecurityRecord> take(Time now);
    /// Return all summaries, including those whose period is not over.
    std::vector<kelp::oplog::SecurityRecord> takeAll();

  private:
    using Kind = std::pair<kelp::oplog::SecurityEvent, std::string>;  // outcome
    using Floods = kelp::util::FloodSummary<Kind>;

    Floods floods_;
};

/// Return the address in "address:port"; any other text unchanged.
std::string withoutPort(const std::string& peer);
/// The text of a summary: "12 more until 2025-03-01T12:00:00.123Z".
std::string countedText(std::uint64_t count, kelp::oplog::UtcTime last);

}  // namespace NS_CORBA
