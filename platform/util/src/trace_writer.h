#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "trace_sinks.h"

namespace kelp::util {

/// One opening of the log: the bounded queue, its sinks and the thread between them. The thread
/// shares in the ownership, so a writer whose sink hangs can be left behind.
class TraceWriter : public std::enable_shared_from_this<TraceWriter> {
  public:
    /// `dropped` counts the lines that went because the queue was full; it must outlive the thread.
    /// The thread calls `look` about once a second, which may push lines.
    TraceWriter(std::vector<std::unique_ptr<TraceSink>> sinks, std::atomic<std::uint64_t>& dropped,
                std::function<void()> look);

    /// Starts the thread. Throws std::system_error when there is none to be had.
    void start();
    /// Queues a line; a full queue loses its oldest one. False when the writer is ending.
    bool push(StampedLine& stamped);
    /// Takes no more lines, writes what is queued and ends the thread; gives up a sink that hangs.
    void stop();

  private:
    struct OpenSink {
        std::unique_ptr<TraceSink> sink;
        std::uint64_t failures = 0;  ///< since the last batch without one
    };

    void run();
    void writeBatch(const std::deque<StampedLine>& batch, std::uint64_t lost);
    /// Does one thing to a sink. Its first failure is told on standard error, further ones are
    /// counted.
    static void attempt(OpenSink& open, const std::function<void()>& access);
    static StampedLine ownLine(const std::string& text);

    std::atomic<std::uint64_t>& dropped_;
    const std::function<void()> look_;
    std::vector<OpenSink> sinks_;  ///< the thread's
    std::thread thread_;           ///< start's and stop's

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<StampedLine> queue_;  ///< guarded by mutex_
    std::uint64_t lost_ = 0;         ///< guarded by mutex_; dropped and not yet told
    bool stopping_ = false;          ///< guarded by mutex_
    bool done_ = false;              ///< guarded by mutex_
};

/// The calling thread's number as the kernel has it.
int currentThreadId();

}  // namespace kelp::util
