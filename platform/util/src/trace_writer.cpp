#include "trace_writer.h"

#include <kelp/util/threads.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <exception>
#include <string>
#include <utility>

namespace kelp::util {

namespace {

/// Maximum number of lines that wait for the disk. A longer queue would only hide that the disk is
/// too slow.
constexpr std::size_t kQueueLinesMax = 8192;

/// If the thread has not ended after this time it is left behind, so that the process can end.
constexpr std::chrono::seconds kStopWait{5};

constexpr std::chrono::seconds kCheckInterval{1};

}  // namespace

TraceWriter::TraceWriter(std::vector<std::unique_ptr<TraceSink>> sinks,
                         std::atomic<std::uint64_t>& dropped, std::function<void()> look)
    : dropped_(dropped), look_(std::move(look)) {
    for (std::unique_ptr<TraceSink>& sink : sinks)
        sinks_.push_back(OpenSink{std::move(sink)});
}

void TraceWriter::start() {
    thread_ = startThread("kelp-trace", [self = shared_from_this()] { self->run(); });
}

bool TraceWriter::push(StampedLine& stamped) {
    {
        const MutexLock lock(mutex_);
        if (stopping_)
            return false;
        if (queue_.size() >= kQueueLinesMax) {
            queue_.pop_front();
            ++lost_;
            ++dropped_;
        }
        queue_.push_back(std::move(stamped));
    }
    changed_.notify_all();
    return true;
}

void TraceWriter::stop() {
    bool ended = false;
    {
        const MutexLock lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
        const auto end = std::chrono::steady_clock::now() + kStopWait;
        while (!done_ && changed_.wait_until(mutex_, end) == std::cv_status::no_timeout) {
        }
        ended = done_;
    }
    if (ended)
        thread_.join();
    else
        thread_.detach();
}

void TraceWriter::run() {
    MutexLock lock(mutex_);
    while (true) {
        const auto end = std::chrono::steady_clock::now() + kCheckInterval;
        while (!stopping_ && queue_.empty() &&
               changed_.wait_until(mutex_, end) == std::cv_status::no_timeout) {
        }
        const bool hasWork = stopping_ || !queue_.empty();
        if (!stopping_) {
            lock.unlock();
            look_();
            lock.lock();
        }
        if (!hasWork)
            continue;
        if (queue_.empty())
            break;
        const std::deque<StampedLine> batch = std::exchange(queue_, {});
        const std::uint64_t lost = std::exchange(lost_, 0);
        lock.unlock();
        writeBatch(batch, lost);
        lock.lock();
    }
    done_ = true;
    changed_.notify_all();
}

void TraceWriter::writeBatch(const std::deque<StampedLine>& batch, std::uint64_t lost) {
    for (OpenSink& open : sinks_) {
        const std::uint64_t failuresBefore = open.failures;
        if (failuresBefore > 0) {
            attempt(open, [&] {
                open.sink->write(ownLine("trace sink " + open.sink->name() + " failed " +
                                         std::to_string(failuresBefore) +
                                         " times; lines are missing here"));
            });
        }
        if (lost > 0) {
            attempt(open, [&] {
                open.sink->write(ownLine(std::to_string(lost) +
                                         " trace lines were dropped: the queue was full"));
            });
        }
        for (const StampedLine& stamped : batch)
            attempt(open, [&] { open.sink->write(stamped); });
        attempt(open, [&] { open.sink->flush(); });
        if (open.failures == failuresBefore)
            open.failures = 0;
    }
}

void TraceWriter::attempt(OpenSink& open, const std::function<void()>& access) {
    try {
        access();
    } catch (const std::exception& ex) {
        if (open.failures++ == 0)
            writeToStandardError(ownLine("trace sink " + open.sink->name() + ": " + ex.what()));
    }
}

StampedLine TraceWriter::ownLine(const std::string& text) {
    StampedLine made;
    made.line.file = "tracelog";
    made.line.function = "unknown";
    made.line.text = escaped(text);
    made.time = std::chrono::system_clock::now();
    made.threadId = currentThreadId();
    return made;
}

int currentThreadId() {
    return static_cast<int>(::syscall(SYS_gettid));
}

}  // namespace kelp::util
