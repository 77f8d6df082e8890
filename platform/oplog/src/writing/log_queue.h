#pragma once

#include <kelp/oplog/operation_log.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

#include "records/log_batch.h"

namespace kelp::oplog {

/// Records on their way to the disk: any thread puts, the log's thread takes. Records taken count
/// as waiting until done(), so that the bound holds for both together.
class LogQueue {
  public:
    LogQueue(std::size_t max, std::chrono::milliseconds stallMax)
        : max_(max), stallMax_(stallMax) {}

    /// False when the record found no place (it is counted in a gap record) or the queue is closed.
    bool put(const RecordView& record);
    /// No more records; whoever waits for a place goes on.
    void close();

    /// Waits for records, and then a little longer for more of them, up to `most` or a piece more.
    /// A gap record comes alone, so that it can grow until all before it is written. Empty when
    /// `idle` has passed or the queue is closed and empty.
    LogBatch take(std::size_t most, std::chrono::milliseconds idle);
    /// A gap record that was taken and not written goes back to its place, to grow further. False:
    /// the batch is none.
    bool reopenGap(const LogBatch& batch);
    /// All that is there, without waiting.
    std::deque<LogBatch> takeRest();
    /// What was taken is written, or given up for the side file.
    void done(bool isAside);

    void wake();
    bool isClosed() const;
    /// Waits; true at once when the queue is closed.
    bool closedWithin(std::chrono::milliseconds time);
    /// Waits until nothing waits.
    bool emptyWithin(std::chrono::milliseconds time);
    void setFails(bool fails);
    LogCounts counts() const;

  private:
    bool waitForRoom(std::unique_lock<std::mutex>& lock);
    void countMissing(UtcTime time);
    /// A closed queue is not empty before those who waited for a place have been counted.
    void awaitWaiters(std::unique_lock<std::mutex>& lock);
    std::size_t waiting() const;
    LogBatch moveOut(std::size_t most);

    const std::size_t max_;
    const std::chrono::milliseconds stallMax_;
    mutable std::mutex mutex_;  // guards what follows
    std::condition_variable filled_;
    std::condition_variable room_;
    std::condition_variable written_;
    /// A piece of records, or the gap record, of which there is one at most.
    struct Item {
        PackedRecords records;
        std::unique_ptr<LogEntry> gap;
    };
    std::deque<Item> items_;
    LogEntry* gap_ = nullptr;  ///< the gap record among the items
    std::size_t inItems_ = 0;  ///< records, without the gap record
    std::size_t inHand_ = 0;   ///< records taken and not yet done
    bool inHandHasGap_ = false;
    std::size_t waiters_ = 0;  ///< threads that wait for a place
    bool hasStalled_ = false;  ///< one has waited in vain since there was room
    bool closed_ = false;
    bool woken_ = false;
    LogCounts counts_;
};

}  // namespace kelp::oplog
