#include "history/session_history.h"

#include <kelp/util/thread_work.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <exception>
#include <iterator>
#include <utility>

namespace NS_KELPCORBA {
namespace {

using kelp::util::MutexLock;
using std::chrono::steady_clock;

/// Interval of the note that the host is alive. The end of a killed host is known this exactly.
constexpr std::chrono::seconds kAliveInterval{15};
constexpr std::chrono::seconds kRetryInterval{5};
constexpr std::chrono::minutes kTrimInterval{10};
/// How long a reader waits for what was noted before. A reader must not wait for a slow disk.
constexpr std::chrono::milliseconds kReaderPatience{500};
/// Numbers begin here when the earlier ones cannot be read: seconds since this time are more than
/// sessions have ever been.
constexpr std::chrono::sys_days kNumbersEpoch = std::chrono::year(2025) / 1 / 1;

std::uint64_t numberByTime() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::seconds>(utcNow() - kNumbersEpoch).count());
}

}  // namespace

SessionHistory& SessionHistory::instance() {
    static SessionHistory history;
    return history;
}

SessionHistory::~SessionHistory() {
    close();
}

void SessionHistory::open(const std::filesystem::path& file,
                          std::function<HistoryLimits()> limits) {
    close();
    file_ = file;
    limits_ = std::move(limits);
    trimDue_ = {};
    fails_ = false;
    try {
        prepare();
    } catch (const std::exception&) {
        traceFailure();
        if (lastNumber_ < numberByTime())
            lastNumber_ = numberByTime();
    }
    {
        const MutexLock lock(mutex_);
        isOpen_ = true;
    }
    writer_ = kelp::util::startThread("history", [this] { run(); });
}

void SessionHistory::prepare() {
    auto database = std::make_unique<SessionDatabase>(file_, SessionDatabase::Use::Write);
    database->closeLeftOpen();
    const std::uint64_t last = database->lastNumber();
    if (lastNumber_ < last)
        lastNumber_ = last;
    database_ = std::move(database);
}

void SessionHistory::close() {
    {
        const MutexLock lock(mutex_);
        isOpen_ = false;
        changed_.notify_all();
    }
    if (writer_.joinable())
        writer_.join();
    database_.reset();
    const MutexLock lock(mutex_);
    waiting_.clear();
}

void SessionHistory::note(const SessionRecord& session,
                          std::function<void(SessionRecord&)> figures) {
    try {
        const MutexLock lock(mutex_);
        if (!isOpen_)
            return;
        waiting_.push_back({session, std::move(figures)});
        if (waiting_.size() > kWaitingMax) {
            waiting_.pop_front();
            ++dropped_;
        }
        changed_.notify_all();
    } catch (const std::bad_alloc&) {
        ++dropped_;
    }
}

void SessionHistory::run() {
    bool isOver = false;
    while (!isOver) {
        std::deque<Waiting> batch;
        {
            const MutexLock lock(mutex_);
            const auto due = steady_clock::now() +
                             (fails_ ? std::chrono::seconds(kRetryInterval) : kAliveInterval);
            while (isOpen_ && (waiting_.empty() || fails_) && steady_clock::now() < due)
                changed_.wait_until(mutex_, due);
            isOver = !isOpen_;
            batch.swap(waiting_);
            isBusy_ = true;
        }
        {
            const kelp::util::ThreadWork work("writes ended sessions");
            if (!write(batch))
                putBack(batch);
        }
        const MutexLock lock(mutex_);
        isBusy_ = false;
        changed_.notify_all();
    }
}

bool SessionHistory::write(std::deque<Waiting>& batch) {
    try {
        // first, so that figures are those of the session's end, whatever the disk does
        for (Waiting& each : batch) {
            if (each.figures)
                std::exchange(each.figures, {})(each.session);
        }
        if (!database_)
            prepare();
        SQLite::Transaction transaction(database_->connection(),
                                        SQLite::TransactionBehavior::IMMEDIATE);
        for (const Waiting& each : batch)
            database_->store(each.session);
        database_->noteAlive(utcNow());
        if (const auto now = steady_clock::now(); now >= trimDue_) {
            const HistoryLimits limits = limits_();
            database_->trim(utcNow() - limits.days, limits.rows);
            trimDue_ = now + kTrimInterval;
        }
        transaction.commit();
        fails_ = false;
        return true;
    } catch (const std::exception&) {
        traceFailure();
        return false;
    }
}

void SessionHistory::traceFailure() {
    if (!fails_.exchange(true))
        kelp::util::traceFrom("sessionhistory", "ended sessions cannot be written to " +
                                                    file_.string() + ": " +
                                                    kelp::util::currentExceptionText());
}

void SessionHistory::putBack(std::deque<Waiting>& batch) {
    const MutexLock lock(mutex_);
    batch.insert(batch.end(), std::make_move_iterator(waiting_.begin()),
                 std::make_move_iterator(waiting_.end()));
    waiting_ = std::move(batch);
    while (waiting_.size() > kWaitingMax) {
        waiting_.pop_front();
        ++dropped_;
    }
}

void SessionHistory::awaitWritten() {
    const auto deadline = steady_clock::now() + kReaderPatience;
    const MutexLock lock(mutex_);
    while (isOpen_ && !fails_ && (isBusy_ || !waiting_.empty()) && steady_clock::now() < deadline)
        changed_.wait_until(mutex_, deadline);
}

std::vector<SessionRecord> SessionHistory::ended(const EndedFilter& filter) {
    awaitWritten();
    return SessionDatabase(file_, SessionDatabase::Use::Read).ended(filter);
}

std::optional<SessionRecord> SessionHistory::endedWith(std::uint64_t number) {
    awaitWritten();
    return SessionDatabase(file_, SessionDatabase::Use::Read).endedWith(number);
}

}  // namespace NS_KELPCORBA
