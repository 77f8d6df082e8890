#pragma once

#include <chrono>
#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace NS_CORBA {

/// Which of the foreign entries found are to be recorded: the first of each kind at once, later
/// ones together once a minute. Two EMS that fight over one name thus leave a record a minute. Not
/// thread safe.
class ForeignEntries {
  public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::chrono::seconds kPeriod{60};
    /// Kinds known at a time; beyond it the one recorded longest ago is forgotten.
    static constexpr std::size_t kKindsMax = 20;

    struct Report {
        std::string kind;
        std::uint64_t times = 1;
    };

    /// One was found; `kind` says what it is. A report when it is to be recorded now.
    std::optional<Report> found(const std::string& kind, Time now);
    /// Those that were found since their last record, which is at least a period ago.
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
