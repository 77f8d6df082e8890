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

/// Formats alarms and writes them to the alarm log on a separate thread, so that neither a disk nor
/// a channel delays the threads that raise alarms. Any thread may call it.
class AlarmLogWriter {
  public:
    /// Appends an alarm's entries to the stream.
    using Format = std::function<void(std::stringstream&, const CosNotification::StructuredEvent&)>;

    /// `waitingMax` is the maximum number of alarms that wait for a slow disk. Beyond it the newest
    /// are not logged; the log states how many are missing.
    AlarmLogWriter(const std::filesystem::path& file, Format format, std::size_t waitingMax);
    /// Calls stop().
    ~AlarmLogWriter();
    AlarmLogWriter(const AlarmLogWriter&) = delete;
    AlarmLogWriter& operator=(const AlarmLogWriter&) = delete;

    /// Accept those of the events that are alarms.
    void take(const std::vector<EventPtr>& events);
    /// Write the waiting alarms, for at most 5 s, and end the thread.
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
