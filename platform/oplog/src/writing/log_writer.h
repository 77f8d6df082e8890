#pragma once

#include <functional>
#include <thread>

#include "database/log_store.h"
#include "writing/log_queue.h"

namespace kelp::oplog {

/// The queue and the database of a log, and the thread that moves records from one to the other.
class LogWriter {
  public:
    LogWriter(const LogSettings& settings, LogKind kind);
    ~LogWriter();
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;

    bool put(const RecordView& record) noexcept;
    void setRetention(const Retention& retention);
    bool flush(std::chrono::milliseconds deadline) { return queue_.emptyWithin(deadline); }
    LogCounts counts() const { return queue_.counts(); }
    void stop();

  private:
    using Clock = std::chrono::steady_clock;

    void run();
    bool writeUntilDone(const LogBatch& batch);
    bool attempt(const std::function<void()>& work);
    void giveUp(const LogBatch& batch);
    void retain(bool hasGrown);
    void trace(const std::string& text) const;

    const std::filesystem::path file_;
    const std::string name_;  ///< beginning of each trace line
    LogQueue queue_;
    LogStore store_;      // used by the thread only
    bool fails_ = false;  // used by the thread only
    Clock::time_point
        checkAgain_{};  // used by the thread only: when the age of the records is checked again
    std::mutex retentionMutex_;  // guards the next two members
    Retention retention_;
    bool isRetentionNew_ = false;
    std::mutex stopMutex_;  // held during a stop: one stop at a time
    std::thread thread_;
};

}  // namespace kelp::oplog
