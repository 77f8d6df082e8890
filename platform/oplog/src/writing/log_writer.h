#pragma once

#include <functional>
#include <thread>

#include "database/log_store.h"
#include "writing/log_queue.h"

namespace kelp::oplog {

/// A log's queue, its database and the thread between them.
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
    const std::string name_;  ///< as traces begin
    LogQueue queue_;
    LogStore store_;                  // the thread's own
    bool fails_ = false;              // the thread's own
    Clock::time_point checkAgain_{};  // the thread's own: when retention looks again without cause
    std::mutex retentionMutex_;       // guards the next two
    Retention retention_;
    bool isRetentionNew_ = false;
    std::mutex stopMutex_;  // one stop at a time
    std::thread thread_;
};

}  // namespace kelp::oplog
