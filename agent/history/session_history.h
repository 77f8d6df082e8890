#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "history/session_database.h"
#include "history/session_record.h"

namespace NS_KELPCORBA {

/// How long ended sessions are kept.
struct HistoryLimits {
    std::chrono::days days{30};
    std::size_t rows = 100000;
};

/// Keeps the sessions that have ended, in an SQLite file. A separate thread writes it: noting a
/// session never waits for the disk and never fails. While the file cannot be written, at most
/// kWaitingMax records wait; the oldest are then dropped and counted. Any thread may call it.
class SessionHistory {
  public:
    static constexpr std::size_t kWaitingMax = 10000;

    static SessionHistory& instance();

    SessionHistory() = default;
    /// Calls close().
    ~SessionHistory();
    SessionHistory(const SessionHistory&) = delete;
    SessionHistory& operator=(const SessionHistory&) = delete;

    /// Open the file and begin to write. Sessions that an earlier process left open become ended by
    /// its death. When the file cannot be opened, this is traced and tried again every few seconds.
    /// `limits` is called on the writing thread.
    void open(const std::filesystem::path& file, std::function<HistoryLimits()> limits);
    /// Write what waits, if that works at once, and end the thread.
    void close();

    /// The number for the next session.
    std::uint64_t nextNumber() { return ++lastNumber_; }
    /// Note a session that has begun or, with a reason, ended. `figures` completes the record on
    /// the writing thread; it may be empty. Ignored while the history is closed.
    void note(const SessionRecord& session, std::function<void(SessionRecord&)> figures = {})
        KELP_EXCLUDES(mutex_);

    /// Ended sessions, newest first. Waits a moment for those that were noted before. Throws
    /// std::exception with why the file cannot be read.
    std::vector<SessionRecord> ended(const EndedFilter& filter);
    std::optional<SessionRecord> endedWith(std::uint64_t number);

    /// Records that could not be kept because the file could not be written for too long.
    std::uint64_t dropped() const { return dropped_; }
    /// Whether the last attempt to write failed.
    bool fails() const { return fails_; }

  private:
    struct Waiting {
        SessionRecord session;
        std::function<void(SessionRecord&)> figures;
    };

    void run() KELP_EXCLUDES(mutex_);
    bool write(std::deque<Waiting>& batch);
    void putBack(std::deque<Waiting>& batch) KELP_EXCLUDES(mutex_);
    void prepare();
    void awaitWritten() KELP_EXCLUDES(mutex_);
    void traceFailure();

    // constant while the thread runs
    std::filesystem::path file_;
    std::function<HistoryLimits()> limits_;
    // of the writing thread, once it runs
    std::unique_ptr<SessionDatabase> database_;
    std::chrono::steady_clock::time_point trimDue_{};

    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "SessionHistory::mutex_"};
    kelp::util::ConditionVariable changed_;
    std::deque<Waiting> waiting_ KELP_GUARDED_BY(mutex_);
    bool isBusy_ KELP_GUARDED_BY(mutex_) = false;  ///< a batch is being written
    bool isOpen_ KELP_GUARDED_BY(mutex_) = false;
    std::atomic<std::uint64_t> lastNumber_{0};
    std::atomic<std::uint64_t> dropped_{0};
    std::atomic<bool> fails_{false};
    std::thread writer_;
};

}  // namespace NS_KELPCORBA
