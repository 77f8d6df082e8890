#pragma once

#include <cos/CosNotification.h>

#include <chrono>
#include <cstdint>
#include <string>

namespace kelp::bench {

using Clock = std::chrono::steady_clock;

/// An alarm of 17 fields, about 1.2 KB on the wire, that contains its number and the time when it
/// was sent.
class BenchAlarm {
  public:
    BenchAlarm();
    /// Return the alarm with this number and the current time. The reference is valid until the
    /// next call.
    const CosNotification::StructuredEvent& numbered(std::uint64_t number);

  private:
    CosNotification::StructuredEvent event_;
};

/// The number and the time that a consumer reads from the alarm.
struct Stamp {
    std::uint64_t number = 0;
    Clock::time_point sent;
};
Stamp stampOf(const CosNotification::StructuredEvent& event);

}  // namespace kelp::bench
