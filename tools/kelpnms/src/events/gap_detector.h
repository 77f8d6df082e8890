#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/notice.h"
#include "events/event_record.h"
#include "events/seen_events.h"

namespace kelp::nms {

/// What a consumer can honestly see of gaps in its events:
///  - silence: no event for the heartbeats' interval and half of it again, at least two seconds
///  more. The
///    interval is given or learned from the first two heartbeats of a connection. Every event is a
///    sign of life, as an EMS may send heartbeats only when it has nothing else to send (TMF 814
///    SD1-26);
///  - an event sent twice: same notification id, same everything;
///  - a notification id that is a smaller number than the one before it: the EMS counts anew, or
///  events have
///    overtaken each other. Ids that are left out mean nothing: filters and other NMS's events take
///    them.
/// Not thread safe. Times are handed in.
class GapDetector {
  public:
    using Clock = std::chrono::steady_clock;

    explicit GapDetector(std::optional<std::chrono::milliseconds> heartbeatInterval)
        : given_(heartbeatInterval) {}

    struct Judgement {
        bool isDuplicate = false;
        std::vector<Notice> notices;
    };

    /// A connection is about to be made: ids and heartbeats begin anew.
    void connecting();
    /// The connection has been made, or this process has stood still: silence counts from here on.
    void silenceBegins(Clock::time_point now);
    Judgement eventCame(const EventRecord& event, Clock::time_point now);

    /// When silence will be too long; none as long as no interval is known.
    std::optional<Clock::time_point> overdueAt() const;
    /// The last event, or the begin of silence if that is later.
    Clock::time_point lastSign() const { return lastSign_; }

  private:
    /// Closer heartbeats are one that was asked for, or a queue that was emptied at once.
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
