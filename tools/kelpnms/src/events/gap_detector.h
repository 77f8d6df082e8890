#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/notice.h"
#include "events/event_record.h"
#include "events/seen_events.h"

namespace kelp::nms {

/// Detects the gaps that a consumer can reliably recognise in its events:
///  - Silence: no event for 1.5 times the heartbeat interval, and for at least 2 s longer than
///    the interval. The interval is given, or learned from the first two heartbeats of a
///    connection. Every event counts as a sign of life, because an EMS may send heartbeats only
///    when it has nothing else to send (TMF 814 SD1-26).
///  - An event sent twice: the same notification id and the same content.
///  - A notification id that is a smaller number than the previous one: the EMS has started
///    counting anew, or events have overtaken each other. Missing ids mean nothing, because events
///    that were filtered out or were for other NMSs use ids too.
///
/// Not thread-safe. The caller passes the time.
class GapDetector {
  public:
    using Clock = std::chrono::steady_clock;

    explicit GapDetector(std::optional<std::chrono::milliseconds> heartbeatInterval)
        : given_(heartbeatInterval) {}

    struct Judgement {
        bool isDuplicate = false;
        std::vector<Notice> notices;
    };

    /// A connection is about to be made. Forget ids and heartbeats of the previous one.
    void connecting();
    /// The connection has been made, or this process was stopped and has continued. The silence is
    /// measured from now on.
    void silenceBegins(Clock::time_point now);
    /// The EMS has sent something that is not judged.
    void heard(Clock::time_point now) { lastSign_ = std::max(lastSign_, now); }
    Judgement eventCame(const EventRecord& event, Clock::time_point now);

    /// When the silence will be too long. None as long as no interval is known.
    std::optional<Clock::time_point> overdueAt() const;
    /// The time of the last event, or the start of the silence if that is later.
    Clock::time_point lastSign() const { return lastSign_; }

  private:
    /// Heartbeats closer together than this do not show the interval: one of them was requested, or
    /// a queue was emptied at once.
    static constexpr std::chrono::milliseconds kShortestInterval{500};
    static constexpr std::chrono::milliseconds kLeastPatience{2000};
    static constexpr std::size_t kEventsRemembered = 10000;

    void learnFrom(Clock::time_point heartbeat);
    std::optional<Notice> orderNotice(const std::string& id);

    const std::optional<std::chrono::milliseconds> given_;
    std::optional<Clock::duration> learned_;
    std::optional<Clock::time_point> lastHeartbeat_;
    Clock::time_point lastSign_{};
    bool isConnected_ = false;
    std::optional<std::uint64_t> lastNumber_;
    SeenEvents seen_{kEventsRemembered};
};

}  // namespace kelp::nms
