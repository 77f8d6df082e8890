#include <kelp/util/mutex.h>
#include <kelp/util/thread_context.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "trace_floods.h"
#include "trace_writer.h"

namespace kelp::util {

namespace {

/// Bounds the memory of one line in the queue.
constexpr std::size_t kTextBytesMax = 8192;
constexpr std::size_t kNameBytesMax = 256;

constexpr int kLevelMax = 3;

struct Listener {
    std::recursive_mutex mutex;  ///< recursive, because a listener may remove itself
    std::function<void(const TraceLine&)> call;
    bool removed = false;  ///< guarded by mutex
};

struct ListenerEntry {
    int handle;
    std::shared_ptr<Listener> listener;
};

struct Log {
    std::atomic<int> level{1};
    std::atomic<std::uint64_t> dropped{0};
    std::atomic<bool> hasListeners{false};

    /// One open() or close() at a time.
    Mutex control{LockRank::TraceControl, "TraceLog::control"};
    bool closesAtExit KELP_GUARDED_BY(control) = false;

    Mutex mutex{LockRank::Trace, "TraceLog::mutex"};
    std::shared_ptr<TraceWriter> writer KELP_GUARDED_BY(mutex);
    std::vector<ListenerEntry> listeners KELP_GUARDED_BY(mutex);
    int nextHandle KELP_GUARDED_BY(mutex) = 1;
};

// Never destroyed, because destructors of other static objects trace.
Log& log() {
    static Log& made = *std::make_unique<Log>().release();
    return made;
}

thread_local bool isInListener = false;

std::shared_ptr<TraceWriter> exchangeWriter(std::shared_ptr<TraceWriter> writer) {
    const MutexLock lock(log().mutex);
    return std::exchange(log().writer, std::move(writer));
}

void callListeners(const TraceLine& line) {
    if (!log().hasListeners || isInListener)
        return;
    std::vector<ListenerEntry> entries;
    {
        const MutexLock lock(log().mutex);
        entries = log().listeners;
    }
    isInListener = true;
    for (const ListenerEntry& entry : entries) {
        const std::lock_guard guard(entry.listener->mutex);
        if (entry.listener->removed)
            continue;
        try {
            entry.listener->call(line);
        } catch (...) {
            std::fputs(("a trace listener failed: " + currentExceptionText() + "\n").c_str(),
                       stderr);
        }
    }
    isInListener = false;
}

StampedLine stampedLine(TraceLine&& line) {
    StampedLine stamped;
    stamped.time = std::chrono::system_clock::now();
    stamped.threadId = currentThreadId();
    if (line.operation.empty())
        line.operation =
            NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext().GetInterfaceName();
    stamped.line = std::move(line);
    stamped.line.file = escaped(stamped.line.file, kNameBytesMax);
    stamped.line.function = escaped(stamped.line.function, kNameBytesMax);
    stamped.line.operation = escaped(stamped.line.operation, kNameBytesMax);
    stamped.line.text = escaped(stamped.line.text, kTextBytesMax);
    return stamped;
}

void writeNow(TraceLine line) {
    StampedLine stamped = stampedLine(std::move(line));
    callListeners(stamped.line);
    std::shared_ptr<TraceWriter> writer;
    {
        const MutexLock lock(log().mutex);
        writer = log().writer;
    }
    if (!writer || !writer->push(stamped))
        writeToStandardError(stamped);
}

void writeSummaries(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        TraceLine line;
        line.file = "tracelog";
        line.function = "unknown";
        line.text = text;
        writeNow(std::move(line));
    }
}

/// Called by the writer's thread about once a second.
void writeDueSummaries() {
    try {
        writeSummaries(TraceFloods::instance().takeDue(std::chrono::steady_clock::now()));
    } catch (...) {
        std::fputs("a trace line was lost\n", stderr);
    }
}

}  // namespace

TraceLog& TraceLog::instance() {
    static TraceLog instance;
    return instance;
}

bool TraceLog::open(const TraceSettings& settings, std::string& whyNot) {
    std::string problems;
    const MutexLock control(log().control);
    std::vector<std::unique_ptr<TraceSink>> sinks = openSinks(settings, problems);
    if (!problems.empty() && !settings.console)
        sinks.push_back(consoleSink());
    std::shared_ptr<TraceWriter> before;
    try {
        const auto writer =
            std::make_shared<TraceWriter>(std::move(sinks), log().dropped, writeDueSummaries);
        writer->start();
        before = exchangeWriter(writer);
    } catch (const std::exception& ex) {
        whyNot = std::string("the trace has no thread: ") + ex.what();
        return false;
    }
    if (before)
        before->stop();
    setLevel(settings.level);
    if (!std::exchange(log().closesAtExit, true))
        std::atexit([] { TraceLog::instance().close(); });
    if (!problems.empty())
        whyNot = problems;
    return problems.empty();
}

void TraceLog::close() {
    const MutexLock control(log().control);
    writeSummaries(TraceFloods::instance().takeAll());
    if (const std::shared_ptr<TraceWriter> writer = exchangeWriter(nullptr))
        writer->stop();
}

bool TraceLog::isOpen() const {
    const MutexLock lock(log().mutex);
    return log().writer != nullptr;
}

void TraceLog::setLevel(int level) {
    log().level = std::clamp(level, 0, kLevelMax);
}

int TraceLog::level() const {
    return log().level;
}

void TraceLog::write(TraceLine line) noexcept {
    if (line.kind == TraceKind::Debug && line.level > level())
        return;
    try {
        const auto now = std::chrono::steady_clock::now();
        if (TraceFloods::instance().standsByItself(line, now))
            writeNow(std::move(line));
        else
            // the writer's thread does not do it while the log is closed
            writeSummaries(TraceFloods::instance().takeDue(now));
    } catch (...) {
        std::fputs("a trace line was lost\n", stderr);
    }
}

int TraceLog::addListener(std::function<void(const TraceLine&)> listener) {
    const auto made = std::make_shared<Listener>();
    made->call = std::move(listener);
    const MutexLock lock(log().mutex);
    const int handle = log().nextHandle++;
    log().listeners.push_back(ListenerEntry{handle, made});
    log().hasListeners = true;
    return handle;
}

void TraceLog::removeListener(int handle) {
    std::shared_ptr<Listener> gone;
    {
        const MutexLock lock(log().mutex);
        std::vector<ListenerEntry>& entries = log().listeners;
        const auto found =
            std::find_if(entries.begin(), entries.end(),
                         [&](const ListenerEntry& entry) { return entry.handle == handle; });
        if (found == entries.end())
            return;
        gone = found->listener;
        entries.erase(found);
        log().hasListeners = !entries.empty();
    }
    const std::lock_guard guard(gone->mutex);
    gone->removed = true;
}

std::uint64_t TraceLog::dropped() const {
    return log().dropped;
}

void traceFrom(const std::string& file, const std::string& text, TraceKind kind) noexcept {
    try {
        TraceLine line;
        line.kind = kind;
        line.file = file;
        line.function = "unknown";
        line.text = text;
        TraceLog::instance().write(std::move(line));
    } catch (...) {
        std::fputs("a trace line was lost\n", stderr);
    }
}

}  // namespace kelp::util
