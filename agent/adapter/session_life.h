#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "history/session_record.h"

namespace NS_KELPCORBA {

/// What the pings of one session have measured. Reports of event losses count as pings.
struct PingFigures {
    std::uint64_t pings = 0;      ///< all calls
    std::uint64_t failed = 0;     ///< of these, calls without an answer
    std::optional<UtcMs> last{};  ///< when the last call ended
    std::chrono::microseconds lastDuration{0};
    // of answered calls; 0 before the first one
    std::chrono::microseconds shortest{0};
    std::chrono::microseconds average{0};  ///< recent calls count more
    std::chrono::microseconds longest{0};
    std::string lastError{};  ///< empty if no call has failed
};

/// What the operator is shown of one session apart from its state: its number, where it came from,
/// its pings, and why it ended. Made on the thread of the log-in's request. Any thread may call it.
/// No operation waits for a disk or for an NMS.
class SessionLife {
  public:
    SessionLife(const std::string& user, const std::string& nms);

    std::uint64_t number() const { return begun_.number; }
    /// The part of the record that is known from the beginning.
    const SessionRecord& begun() const { return begun_; }

    /// Count a call to the NMS. `error` is empty when the NMS answered.
    void pinged(std::chrono::microseconds duration, const std::string& error) KELP_EXCLUDES(mutex_);
    PingFigures pings() const KELP_EXCLUDES(mutex_);

    /// Note why the session ends, and by whom. Only the first reason counts.
    void endFor(EndReason reason, const std::string& by) KELP_EXCLUDES(mutex_);
    /// Enter the session into the history, and its end as well if it has ended meanwhile.
    void enterHistory(const std::string& sessionName) KELP_EXCLUDES(mutex_);
    /// Enter the session's end into the history, if the session was entered. Called once, when the
    /// user is logged out.
    void leave(std::uint64_t calls) KELP_EXCLUDES(mutex_);

    /// The sums over consumers of the same name that ended before this session began.
    EventFigures eventsBefore() const KELP_EXCLUDES(mutex_);

  private:
    void noteEnd() KELP_EXCLUDES(mutex_);

    const SessionRecord begun_;
    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "SessionLife::mutex_"};
    PingFigures pings_ KELP_GUARDED_BY(mutex_);
    EndReason reason_ KELP_GUARDED_BY(mutex_) = EndReason::None;
    std::string by_ KELP_GUARDED_BY(mutex_);
    std::string sessionName_ KELP_GUARDED_BY(mutex_);  ///< empty until it is in the history
    EventFigures before_ KELP_GUARDED_BY(mutex_);
    std::optional<SessionRecord> end_ KELP_GUARDED_BY(mutex_);
};

/// The events for the consumers of the session with this name, without those of before.
EventFigures eventsOf(const std::string& sessionName, const EventFigures& before);

}  // namespace NS_KELPCORBA
