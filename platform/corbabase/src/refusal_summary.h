#pragma once

#include <kelp/oplog/security_log.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace NS_CORBA {

/// Keeps floods of refusals out of the security log: which refusals stand there one by one, and what is told
/// of the others. Not thread safe.
class RefusalSummary {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Of one kind and one address: so many in this time stand by themselves.
    static constexpr unsigned kSingly = 20;
    static constexpr std::chrono::seconds kPeriod{60};

    explicit RefusalSummary(std::size_t addressesMax = 1000) : addressesMax_(addressesMax) {}

    /// True when the record is to be written by itself; otherwise it is counted.
    bool standsByItself(const kelp::oplog::SecurityRecord& record, Time now);
    /// One record for each kind and address whose period is over and that has some counted; those periods
    /// end.
    std::vector<kelp::oplog::SecurityRecord> take(Time now);
    /// The same, for all whose period is not over too.
    std::vector<kelp::oplog::SecurityRecord> takeAll();

  private:
    struct Period {
        Time end{};
        unsigned single = 0;
        std::uint64_t counted = 0;
        kelp::oplog::UtcTime first{};
        kelp::oplog::UtcTime last{};
    };
    using Key = std::tuple<kelp::oplog::SecurityEvent, std::string, std::string>;  // outcome, address

    Key keyOf(const kelp::oplog::SecurityRecord& record, Time now);
    void dropPast(Time now);
    static kelp::oplog::SecurityRecord told(const Key& key, const Period& period);

    const std::size_t addressesMax_;
    std::map<Key, Period> periods_;
};

}  // namespace NS_CORBA
