#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <ctime>
#include <deque>
#include <functional>
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

    /// Queue those of the events that are alarms.
    void enqueue(const std::vector<StructuredEventPtr>& events) KELP_EXCLUDES(mutex_);
    /// Write the waiting alarms, for at most 5 s, and end the thread.
    void stop() KELP_EXCLUDES(mutex_);

  private:
    struct Entry {
        std::time_t accepted;
        StructuredEventPtr alarm;
    };
    struct Batch {
        std::deque<Entry> alarms;
        std::size_t missing = 0;
    };
    void run() KELP_EXCLUDES(mutex_);
    /// Wait for alarms and return all that wait. An empty batch ends the thread.
    Batch next() KELP_EXCLUDES(mutex_);
    void write(const Batch& batch) KELP_EXCLUDES(mutex_);
    void write(const Entry& entry);
    bool mustGiveUp() KELP_EXCLUDES(mutex_);

    const Format format_;
    const std::size_t waitingMax_;
    AlarmLog log_;  // used by the thread only
    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "AlarmLogWriter::mutex_"};
    kelp::util::ConditionVariable changed_;
    std::deque<Entry> waiting_ KELP_GUARDED_BY(mutex_);
    std::size_t missing_ KELP_GUARDED_BY(mutex_) = 0;
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
    std::chrono::steady_clock::time_point giveUpAt_ KELP_GUARDED_BY(mutex_) =
        std::chrono::steady_clock::time_point::max();
    std::thread thread_ KELP_GUARDED_BY(mutex_);
};

}  // namespace NS_CORBA
