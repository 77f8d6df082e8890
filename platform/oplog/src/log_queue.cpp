#include "log_queue.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "entry_rules.h"

namespace kelp::oplog {

namespace {
/// How long a batch grows after its first record.
constexpr std::chrono::milliseconds kGather{100};
constexpr std::size_t kGatherEnough = 5000;
}  // namespace

bool LogQueue::put(LogEntry entry) {
    cut(entry);
    std::unique_lock lock(mutex_);
    if (closed_)
        return false;
    ++counts_.taken;
    if (waiting() >= max_ && !waitForRoom(lock)) {
        countMissing(entry.time);
        return false;
    }
    entries_.push_back(std::move(entry));
    if (entries_.size() == 1 || entries_.size() == kGatherEnough || waiting() == max_)
        filled_.notify_one();
    return true;
}

bool LogQueue::waitForRoom(std::unique_lock<std::mutex>& lock) {
    if (hasStalled_)
        return false;
    ++waiters_;
    const bool hasRoom =
        room_.wait_for(lock, stallMax_, [this] { return closed_ || waiting() < max_; }) && waiting() < max_;
    if (!hasRoom)
        hasStalled_ = true;
    if (--waiters_ == 0 && closed_)
        filled_.notify_all();
    return hasRoom;
}

void LogQueue::countMissing(UtcTime time) {
    ++counts_.missing;
    if (gap_ == nullptr) {
        LogEntry gap;
        gap.time = gap.until = time;
        gap.outcome = "missing";
        gap_ = &entries_.emplace_back(std::move(gap));
    }
    ++gap_->missing;
    gap_->time = std::min(gap_->time, time);
    gap_->until = std::max(gap_->until, time);
}

std::size_t LogQueue::waiting() const {
    return entries_.size() - (gap_ != nullptr ? 1 : 0) + inHand_;
}

void LogQueue::close() {
    const std::lock_guard guard(mutex_);
    closed_ = true;
    filled_.notify_all();
    room_.notify_all();
}

void LogQueue::wake() {
    const std::lock_guard guard(mutex_);
    woken_ = true;
    filled_.notify_all();
}

std::vector<LogEntry> LogQueue::take(std::size_t most, std::chrono::milliseconds idle) {
    std::unique_lock lock(mutex_);
    filled_.wait_for(lock, idle, [this] { return closed_ || woken_ || !entries_.empty(); });
    woken_ = false;
    awaitWaiters(lock);
    if (entries_.empty())
        return {};
    filled_.wait_for(lock, kGather,
                     [this] { return closed_ || entries_.size() >= kGatherEnough || waiting() >= max_; });
    return moveOut(beforeGap(most));
}

std::size_t LogQueue::beforeGap(std::size_t most) const {
    most = std::min(most, entries_.size());
    if (gap_ == nullptr)
        return most;
    std::size_t count = 0;
    while (count < most && &entries_[count] != gap_)
        ++count;
    return std::max<std::size_t>(count, 1);
}

bool LogQueue::reopenGap(const std::vector<LogEntry>& batch) {
    if (batch.size() != 1 || batch.front().missing == 0)
        return false;
    const std::lock_guard guard(mutex_);
    inHandHasGap_ = false;
    if (gap_ == nullptr) {
        gap_ = &entries_.emplace_front(batch.front());
        return true;
    }
    gap_->missing += batch.front().missing;
    gap_->time = std::min(gap_->time, batch.front().time);
    gap_->until = std::max(gap_->until, batch.front().until);
    return true;
}

void LogQueue::awaitWaiters(std::unique_lock<std::mutex>& lock) {
    if (closed_)
        filled_.wait(lock, [this] { return waiters_ == 0; });
}

std::vector<LogEntry> LogQueue::takeRest() {
    std::unique_lock lock(mutex_);
    awaitWaiters(lock);
    return moveOut(entries_.size());
}

std::vector<LogEntry> LogQueue::moveOut(std::size_t most) {
    std::vector<LogEntry> batch;
    const std::size_t count = std::min(most, entries_.size());
    batch.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (&entries_.front() == gap_)
            gap_ = nullptr;
        inHandHasGap_ = inHandHasGap_ || entries_.front().missing > 0;
        inHand_ += entries_.front().missing > 0 ? 0 : 1;
        batch.push_back(std::move(entries_.front()));
        entries_.pop_front();
    }
    return batch;
}

void LogQueue::done(bool isAside) {
    const std::lock_guard guard(mutex_);
    (isAside ? counts_.aside : counts_.written) += std::exchange(inHand_, 0);
    inHandHasGap_ = false;
    hasStalled_ = false;
    room_.notify_all();
    written_.notify_all();
}

bool LogQueue::isClosed() const {
    const std::lock_guard guard(mutex_);
    return closed_;
}

bool LogQueue::closedWithin(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return filled_.wait_for(lock, time, [this] { return closed_; });
}

bool LogQueue::emptyWithin(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return written_.wait_for(lock, time,
                             [this] { return entries_.empty() && inHand_ == 0 && !inHandHasGap_; });
}

void LogQueue::setFails(bool fails) {
    const std::lock_guard guard(mutex_);
    counts_.fails = fails;
}

LogCounts LogQueue::counts() const {
    const std::lock_guard guard(mutex_);
    LogCounts counts = counts_;
    counts.waiting = waiting();
    return counts;
}

}  // namespace kelp::oplog
