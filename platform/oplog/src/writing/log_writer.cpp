#include "writing/log_writer.h"

#include <kelp/util/thread_work.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "database/side_file.h"

namespace kelp::oplog {

namespace {

using std::chrono::milliseconds;

constexpr std::size_t kBatchMax = 5000;
constexpr milliseconds kBusy{250};
constexpr milliseconds kIdle{1000};
constexpr milliseconds kFirstPause{50};
constexpr milliseconds kLongestPause{1000};
/// Maximum time that a stop waits for a database that fails.
constexpr milliseconds kStopPatience{2000};
constexpr std::chrono::minutes kRetentionEvery{60};

}  // namespace

LogWriter::LogWriter(const LogSettings& settings, LogKind kind)
    : file_(settings.database),
      name_(kind == LogKind::Operations ? "[OperationLog] " : "[SecurityLog] "),
      queue_(settings.queueMax, settings.stallMax),
      store_(settings.database, kind, kBusy, LogStore::Damaged::IsSetAside, settings.auditKeyFile),
      retention_(settings.retention),
      thread_(util::startThread(kind == LogKind::Operations ? "oplog" : "auditlog",
                                [this] { run(); })) {}

LogWriter::~LogWriter() {
    stop();
}

void LogWriter::stop() {
    const util::MutexLock lock(stopMutex_);
    queue_.close();
    if (thread_.joinable())
        thread_.join();
}

bool LogWriter::put(const RecordView& record) noexcept {
    try {
        return queue_.put(record);
    } catch (...) {
        trace("a record is lost: " + util::currentExceptionText());
        return false;
    }
}

void LogWriter::setRetention(const Retention& retention) {
    {
        const util::MutexLock lock(retentionMutex_);
        retention_ = retention;
        isRetentionNew_ = true;
    }
    queue_.wake();
}

void LogWriter::run() {
    attempt([this] { store_.open(); });
    for (;;) {
        const LogBatch batch = queue_.take(kBatchMax, kIdle);
        if (batch.empty() && queue_.isClosed())
            return;
        const util::ThreadWork work("writes records");
        if (!batch.empty() && !writeUntilDone(batch))
            return giveUp(batch);
        // a stop does not wait for the removal of old records
        if (!queue_.isClosed())
            retain(!batch.empty());
    }
}

bool LogWriter::writeUntilDone(const LogBatch& batch) {
    std::optional<Clock::time_point> giveUpAt;
    milliseconds pause = kFirstPause;
    while (!attempt([&] { store_.append(batch); })) {
        if (!giveUpAt && queue_.closedWithin(pause))
            giveUpAt = Clock::now() + kStopPatience;
        else if (giveUpAt && Clock::now() >= *giveUpAt)
            return false;
        else if (giveUpAt)
            std::this_thread::sleep_for(kFirstPause);
        pause = std::min(pause * 2, kLongestPause);
        // records that are dropped in the meantime belong to the same gap
        if (!giveUpAt && queue_.reopenGap(batch))
            return true;
    }
    queue_.done(false);
    return true;
}

bool LogWriter::attempt(const std::function<void()>& work) {
    try {
        work();
    } catch (const std::exception& failure) {
        queue_.setFails(true);
        if (!std::exchange(fails_, true))
            trace(failure.what() + std::string("; records wait in memory"));
        return false;
    }
    if (std::exchange(fails_, false)) {
        queue_.setFails(false);
        const LogCounts counts = queue_.counts();
        trace(file_.string() + " can be written again; " + std::to_string(counts.waiting) +
              " record(s) waited, " + std::to_string(counts.missing) + " missing in all");
    }
    return true;
}

void LogWriter::giveUp(const LogBatch& batch) {
    std::vector<LogEntry> entries;
    appendEntries(batch, entries);
    for (const LogBatch& each : queue_.takeRest())
        appendEntries(each, entries);
    const std::string count = std::to_string(entries.size()) + " record(s)";
    try {
        const std::filesystem::path file = writeSideFile(file_, std::move(entries));
        trace(count + " went to the side file " + file.string() +
              ", which the next start takes in from beside " + file_.string());
    } catch (const std::exception& failure) {
        trace(count + " are lost at the stop: " + failure.what());
    }
    queue_.done(true);
}

void LogWriter::retain(bool hasGrown) {
    Retention retention;
    bool isDue = Clock::now() >= checkAgain_;
    {
        const util::MutexLock lock(retentionMutex_);
        retention = retention_;
        isDue = std::exchange(isRetentionNew_, false) || isDue;
    }
    if (fails_ && !attempt([this] { store_.open(); }))
        return;
    if (!isDue && !hasGrown)
        return;
    std::optional<UtcTime> oldest;
    if (isDue)
        oldest = now() - retention.age;
    bool isMore = false;
    attempt([&] { isMore = store_.retain(retention.bytes, oldest); });
    if (isMore) {
        checkAgain_ = Clock::now();
        queue_.wake();
    } else if (isDue)
        checkAgain_ = Clock::now() + kRetentionEvery;
}

void LogWriter::trace(const std::string& text) const {
    util::traceFrom("oplog", name_ + text);
}

}  // namespace kelp::oplog
