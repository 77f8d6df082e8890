#include "writing/log_queue.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kelp::oplog {

namespace {
/// A batch is taken 100 ms after its first record, or when 5,000 records are waiting.
constexpr std::chrono::milliseconds kGather{100};
constexpr std::size_t kGatherEnough = 5000;
}  // namespace

bool LogQueue::put(const RecordView& record) {
    std::unique_lock lock(mutex_);
    if (closed_)
        return false;
    ++counts_.taken;
    if (waiting() >= max_ && !waitForRoom(lock)) {
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

bool LogQueue::waitForRoom(std::unique_lock<std::mutex>& lock) {
    if (hasStalled_)
        return false;
    ++waiters_;
    const bool hasRoom = room_.wait_for(lock, stallMax_, [this] {
        return closed_ || waiting() < max_;
    }) && waiting() < max_;
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

LogBatch LogQueue::take(std::size_t most, std::chrono::milliseconds idle) {
    std::unique_lock lock(mutex_);
    filled_.wait_for(lock, idle, [this] { return closed_ || woken_ || !items_.empty(); });
    woken_ = false;
    awaitWaiters(lock);
    if (items_.empty())
        return {};
    filled_.wait_for(lock, kGather,
                     [this] { return closed_ || inItems_ >= kGatherEnough || waiting() >= max_; });
    return moveOut(most);
}

bool LogQueue::reopenGap(const LogBatch& batch) {
    if (!batch.gap)
        return false;
    const std::lock_guard guard(mutex_);
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

void LogQueue::awaitWaiters(std::unique_lock<std::mutex>& lock) {
    if (closed_)
        filled_.wait(lock, [this] { return waiters_ == 0; });
}

std::deque<LogBatch> LogQueue::takeRest() {
    std::unique_lock lock(mutex_);
    awaitWaiters(lock);
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
                             [this] { return items_.empty() && inHand_ == 0 && !inHandHasGap_; });
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
