#pragma once

#include <chrono>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace NS_CORBA {

/// Decides which foreign entries are recorded: the first of each kind at once, later ones together
/// once a minute. Two EMS that compete for one name thus leave one record a minute. Not thread
/// safe.
class ForeignEntries {
  public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds kPeriod{60};
    /// Maximum number of kinds remembered. Beyond it, the one recorded longest ago is evicted.
    static constexpr std::size_t kKindsMax = 20;

    struct Report {
        std::string kind;
        std::uint64_t times = 1;
    };

    /// A foreign entry of this kind was found. Return a report if it must be recorded now.
    std::optional<Report> found(const std::string& kind, Time now);
    /// Return reports of entries found since their last record, if that was at least one period
    /// ago.
    std::vector<Report> due(Time now);

  private:
    struct Known {
        std::string kind;
        std::uint64_t unrecorded = 0;
        Time recorded{};
    };
    std::list<Known> known_;
};

}  // namespace NS_CORBA
