#pragma once

#include <kelp/util/export.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

namespace NS_CORBA {

struct CallFigures {
    std::uint64_t total = 0;
    double perSecond = 0;  ///< over the last ten complete seconds
};

/// Counts calls and their rate. Any thread may call it. Takes no lock: it runs for every request.
/// Calls that several threads count at the turn of a second may be missing from the rate, never
/// from the total.
class KELP_EXPORT CallMeter {
  public:
    using Clock = std::chrono::steady_clock;

    void note(Clock::time_point now = Clock::now());
    CallFigures figures(Clock::time_point now = Clock::now()) const;

  private:
    static constexpr std::size_t kSeconds = 16;  ///< more than the rate covers
    struct Second {
        std::atomic<std::int64_t> number{-1};  ///< which second the count belongs to
        std::atomic<std::uint64_t> calls{0};
    };

    std::atomic<std::uint64_t> total_{0};
    std::array<Second, kSeconds> seconds_;
};

}  // namespace NS_CORBA
