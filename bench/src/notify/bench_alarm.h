#pragma once

#include <cos/CosNotification.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace kelp::bench {

using Clock = std::chrono::steady_clock;

/// An alarm of 17 fields, about 1.2 KB on the wire, that carries its number and when it was sent.
class BenchAlarm {
  public:
    BenchAlarm();
    /// The alarm, numbered and stamped with this moment. Valid until the next call.
    const CosNotification::StructuredEvent& numbered(std::uint64_t number);

  private:
    CosNotification::StructuredEvent event_;
};

/// What a consumer reads of it.
struct Stamp {
    std::uint64_t number = 0;
    Clock::time_point sent;
};
Stamp stampOf(const CosNotification::StructuredEvent& event);

}  // namespace kelp::bench
