#pragma once

#include <kelp/traps/trap.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>

namespace kelp::traps {

/// Makes the idempotency keys of informs. An inform that is sent again has the same sender, request
/// id and content, and so the same key. Elements may begin with the same request id after each
/// restart, so an equal inform later than kRepeatedWithin gets another key. Not thread-safe.
class InformKeys {
  public:
    using Time = std::chrono::system_clock::time_point;

    /// Longer than senders retry: most stop after a minute.
    static constexpr std::chrono::minutes kRepeatedWithin{10};
    static constexpr std::size_t kRememberedMax = 20000;

    std::string keyOf(const Trap& inform, Time now);

  private:
    struct Seen {
        std::string key;
        Time first;
        bool isFirstOfItsKind = true;
    };

    std::list<Seen> seen_;  ///< the one that was first seen last is the first one
    std::unordered_map<std::string, std::list<Seen>::iterator> places_;
};

}  // namespace kelp::traps
