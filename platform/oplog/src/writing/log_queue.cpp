#include "writing/log_queue.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kelp::oplog {

namespace {

using Clock = std::chrono::steady_clock;

/// A batch is taken 100 ms after its first record, or when 5,000 records are waiting.
constexpr std::chrono::milliseconds kGather{100};
constexpr std::size_t kGatherEnough = 5000;

}  // namespace

bool LogQueue::put(const RecordView& record) {
    const util::MutexLock lock(mutex_);
    if (closed_)
        return false;
    ++counts_.taken;
    if (waiting() >= max_ && !waitForRoom()) {
        countMissing(record.time);
        return false;
    }
    const bool isFirst = items_.empty();
    if (isFirst || items_.back().gap || items_.back().records.isFull())
        items_.emplace_back();
    items_.back().records.add(record);
    ++inItems_;
    if (isFirst || inItems_ == kGatherEnough || waiting() == max_)
        filled_.notify_one();
    return true;
}

bool LogQueue::waitForRoom() {
    if (hasStalled_)
        return false;
    ++waiters_;
    const auto deadline = Clock::now() + stallMax_;
    while (!closed_ && waiting() >= max_ &&
           room_.wait_until(mutex_, deadline) == std::cv_status::no_timeout) {
    }
    const bool hasRoom = waiting() < max_;
    if (!hasRoom)
        hasStalled_ = true;
    if (--waiters_ == 0 && closed_)
        filled_.notify_all();
    return hasRoom;
}

void LogQueue::countMissing(UtcTime time) {
    ++counts_.missing;
    if (gap_ == nullptr) {
        auto gap = std::make_unique<LogEntry>();
        gap->time = gap->until = time;
        gap->outcome = "missing";
        gap_ = items_.emplace_back(Item{{}, std::move(gap)}).gap.get();
    }
    ++gap_->missing;
    gap_->time = std::min(gap_->time, time);
    gap_->until = std::max(gap_->until, time);
}

std::size_t LogQueue::waiting() const {
    return inItems_ + inHand_;
}

bool LogQueue::hasWork() const {
    return !items_.empty() || inHand_ > 0 || inHandHasGap_;
}

void LogQueue::close() {
    const util::MutexLock lock(mutex_);
    closed_ = true;
    filled_.notify_all();
    room_.notify_all();
}

void LogQueue::wake() {
    const util::MutexLock lock(mutex_);
    woken_ = true;
    filled_.notify_all();
}

LogBatch LogQueue::take(std::size_t most, std::chrono::milliseconds idle) {
    const util::MutexLock lock(mutex_);
    const auto idleEnd = Clock::now() + idle;
    while (!closed_ && !woken_ && items_.empty() &&
           filled_.wait_until(mutex_, idleEnd) == std::cv_status::no_timeout) {
    }
    woken_ = false;
    awaitWaiters();
    if (items_.empty())
        return {};
    const auto gatherEnd = Clock::now() + kGather;
    while (!closed_ && inItems_ < kGatherEnough && waiting() < max_ &&
           filled_.wait_until(mutex_, gatherEnd) == std::cv_status::no_timeout) {
    }
    return moveOut(most);
}

bool LogQueue::reopenGap(const LogBatch& batch) {
    if (!batch.gap)
        return false;
    const util::MutexLock lock(mutex_);
    inHandHasGap_ = false;
    if (gap_ == nullptr) {
        gap_ = items_.emplace_front(Item{{}, std::make_unique<LogEntry>(*batch.gap)}).gap.get();
        return true;
    }
    gap_->missing += batch.gap->missing;
    gap_->time = std::min(gap_->time, batch.gap->time);
    gap_->until = std::max(gap_->until, batch.gap->until);
    return true;
}

void LogQueue::awaitWaiters() {
    while (closed_ && waiters_ > 0)
        filled_.wait(mutex_);
}

std::deque<LogBatch> LogQueue::takeRest() {
    const util::MutexLock lock(mutex_);
    awaitWaiters();
    std::deque<LogBatch> batches;
    while (!items_.empty())
        batches.push_back(moveOut(std::numeric_limits<std::size_t>::max()));
    return batches;
}

LogBatch LogQueue::moveOut(std::size_t most) {
    LogBatch batch;
    if (items_.front().gap) {
        batch.gap = std::move(*items_.front().gap);
        gap_ = nullptr;
        inHandHasGap_ = true;
        items_.pop_front();
        return batch;
    }
    for (std::size_t taken = 0; taken < most && !items_.empty() && !items_.front().gap;
         items_.pop_front()) {
        const std::size_t count = items_.front().records.count();
        taken += count;
        inItems_ -= count;
        inHand_ += count;
        batch.pieces.push_back(std::move(items_.front().records));
    }
    return batch;
}

void LogQueue::done(bool isAside) {
    const util::MutexLock lock(mutex_);
    (isAside ? counts_.aside : counts_.written) += std::exchange(inHand_, 0);
    inHandHasGap_ = false;
    hasStalled_ = false;
    room_.notify_all();
    written_.notify_all();
}

bool LogQueue::isClosed() const {
    const util::MutexLock lock(mutex_);
    return closed_;
}

bool LogQueue::closedWithin(std::chrono::milliseconds time) {
    const util::MutexLock lock(mutex_);
    const auto deadline = Clock::now() + time;
    while (!closed_ && filled_.wait_until(mutex_, deadline) == std::cv_status::no_timeout) {
    }
    return closed_;
}

bool LogQueue::emptyWithin(std::chrono::milliseconds time) {
    const util::MutexLock lock(mutex_);
    const auto deadline = Clock::now() + time;
    while (hasWork() && written_.wait_until(mutex_, deadline) == std::cv_status::no_timeout) {
    }
    return !hasWork();
}

void LogQueue::setFails(bool fails) {
    const util::MutexLock lock(mutex_);
    counts_.fails = fails;
}

LogCounts LogQueue::counts() const {
    const util::MutexLock lock(mutex_);
    LogCounts counts = counts_;
    counts.waiting = waiting();
    return counts;
}

}  // namespace kelp::oplog
