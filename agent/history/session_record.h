#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "history/end_reason.h"

namespace NS_KELPCORBA {

/// Times in the operator's interface: UTC with milliseconds.
using UtcMs = std::chrono::sys_time<std::chrono::milliseconds>;

inline UtcMs utcNow() {
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

/// The events for all consumers of one session. sent = delivered + lost + queued.
struct EventFigures {
    std::uint64_t sent = 0;
    std::uint64_t delivered = 0;
    std::uint64_t lost = 0;
    std::uint64_t queued = 0;
};

/// A session as the history keeps it.
struct SessionRecord {
    std::uint64_t number = 0;  ///< unique, increases with each log-in, also across restarts
    std::string user{};
    std::string nms{};      ///< "address:port" of the NMS's own session object
    std::string peer{};     ///< "address:port" that the log-in came from
    std::string tlsPeer{};  ///< subject of the NMS's certificate; empty without one
    UtcMs started{};
    UtcMs ended{};
    EndReason reason = EndReason::None;
    std::string by{};       ///< who ended it
    EventFigures events{};  ///< at the end; those queued then were not delivered
    std::uint64_t calls = 0;
};

}  // namespace NS_KELPCORBA
