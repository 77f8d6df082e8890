#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "trace_sinks.h"

namespace kelp::util {

/// The writer of an open trace: a bounded queue, the sinks, and the thread that moves lines from
/// the queue to the sinks. The thread is an owner too, so that a writer whose sink hangs can be
/// left behind.
class TraceWriter : public std::enable_shared_from_this<TraceWriter> {
  public:
    /// `dropped` counts the lines that were dropped because the queue was full. It must outlive the
    /// thread. The thread calls `look` about once a second; `look` may push lines.
    TraceWriter(std::vector<std::unique_ptr<TraceSink>> sinks, std::atomic<std::uint64_t>& dropped,
                std::function<void()> look);

    /// Start the thread. Throws std::system_error if no thread can be created.
    void start();
    /// Queue a line. If the queue is full its oldest line is dropped. Returns false if the writer
    /// is stopping.
    bool push(StampedLine& stamped) KELP_EXCLUDES(mutex_);
    /// Accept no more lines, write the queued ones and end the thread. If a sink hangs for 5 s the
    /// thread is left behind.
    void stop() KELP_EXCLUDES(mutex_);

  private:
    struct OpenSink {
        std::unique_ptr<TraceSink> sink;
        std::uint64_t failures = 0;  ///< number of failures since the last batch without one
    };

    void run() KELP_EXCLUDES(mutex_);
    void writeBatch(const std::deque<StampedLine>& batch, std::uint64_t lost);
    /// Run one operation of a sink. Its first failure is written to standard error; further ones
    /// are counted.
    static void attempt(OpenSink& open, const std::function<void()>& access);
    static StampedLine ownLine(const std::string& text);

    std::atomic<std::uint64_t>& dropped_;
    const std::function<void()> look_;
    std::vector<OpenSink> sinks_;  ///< used by the thread only
    std::thread thread_;           ///< used by start() and stop() only

    Mutex mutex_{LockRank::Trace, "TraceWriter::mutex_"};
    ConditionVariable changed_;
    std::deque<StampedLine> queue_ KELP_GUARDED_BY(mutex_);
    /// Number of dropped lines that were not reported yet.
    std::uint64_t lost_ KELP_GUARDED_BY(mutex_) = 0;
    bool stopping_ KELP_GUARDED_BY(mutex_) = false;
    bool done_ KELP_GUARDED_BY(mutex_) = false;
};

/// The kernel's id of the calling thread.
int currentThreadId();

}  // namespace kelp::util
