#pragma once

#include <kelp/util/mutex.h>

#include <functional>
#include <thread>

#include "writing/log_queue.h"
#include "writing/log_store.h"

namespace kelp::oplog {

/// The queue and the database of a log, and the thread that moves records from one to the other.
class LogWriter {
  public:
    LogWriter(const LogSettings& settings, LogKind kind);
    ~LogWriter();
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;

    bool put(const RecordView& record) noexcept;
    void setRetention(const Retention& retention) KELP_EXCLUDES(retentionMutex_);
    bool flush(std::chrono::milliseconds deadline) { return queue_.emptyWithin(deadline); }
    LogCounts counts() const { return queue_.counts(); }
    void stop() KELP_EXCLUDES(stopMutex_);

  private:
    using Clock = std::chrono::steady_clock;

    void run();
    bool writeUntilDone(const LogBatch& batch);
    bool attempt(const std::function<void()>& work);
    void giveUp(const LogBatch& batch);
    void retain(bool hasGrown) KELP_EXCLUDES(retentionMutex_);
    void trace(const std::string& text) const;

    const std::filesystem::path file_;
    const std::string name_;  ///< beginning of each trace line
    LogQueue queue_;

    // used by the thread only
    LogStore store_;
    bool fails_ = false;
    Clock::time_point checkAgain_{};  ///< when the age of the records is checked again

    util::Mutex retentionMutex_{util::LockRank::Service, "LogWriter::retentionMutex_"};
    Retention retention_ KELP_GUARDED_BY(retentionMutex_);
    bool isRetentionNew_ KELP_GUARDED_BY(retentionMutex_) = false;

    /// Held during a stop: one stop at a time.
    util::Mutex stopMutex_{util::LockRank::ServiceControl, "LogWriter::stopMutex_"};
    std::thread thread_ KELP_GUARDED_BY(stopMutex_);
};

}  // namespace kelp::oplog
