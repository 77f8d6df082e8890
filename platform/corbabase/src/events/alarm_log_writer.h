#pragma once

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <deque>
#include <functional>
#include <mutex>
#include <sstream>
#include <thread>
#include <vector>

#include "events/alarm_log.h"
#include "events/event_channel_link.h"

namespace NS_CORBA {

/// Puts alarms into words and into the alarm log by a thread of its own, so that neither a disk nor
/// a channel holds up whoever raises them. Any thread may call it.
class AlarmLogWriter {
  public:
    /// Appends an alarm's entries.
    using Format = std::function<void(std::stringstream&, const CosNotification::StructuredEvent&)>;

    /// At most so many alarms wait for a slow disk; beyond it the newest are missing in the log,
    /// which says how many.
    AlarmLogWriter(const std::filesystem::path& file, Format format, std::size_t waitingMax);
    /// stop().
    ~AlarmLogWriter();
    AlarmLogWriter(const AlarmLogWriter&) = delete;
    AlarmLogWriter& operator=(const AlarmLogWriter&) = delete;

    /// Takes those of the events that are alarms.
    void take(const std::vector<EventPtr>& events);
    /// Writes what waits, for a few seconds at most, and ends the thread.
    void stop();

  private:
    struct Entry {
        std::time_t taken;
        EventPtr alarm;
    };
    void run();
    void write(const Entry& entry);
    bool mustGiveUp();

    const Format format_;
    const std::size_t waitingMax_;
    AlarmLog log_;      // the thread's own
    std::mutex mutex_;  // guards what follows
    std::condition_variable changed_;
    std::deque<Entry> waiting_;
    std::size_t missing_ = 0;
    bool stopping_ = false;
    std::chrono::steady_clock::time_point giveUpAt_ = std::chrono::steady_clock::time_point::max();
    std::thread thread_;
};

}  // namespace NS_CORBA
