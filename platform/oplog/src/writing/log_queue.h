#pragma once

#include <kelp/oplog/operation_log.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>

#include "records/log_batch.h"

namespace kelp::oplog {

/// Records that wait for the disk. Any thread puts records in, and the log's thread takes them out.
/// Records that were taken out count as waiting until done(), so that the limit applies to all
/// records in memory.
class LogQueue {
  public:
    LogQueue(std::size_t max, std::chrono::milliseconds stallMax)
        : max_(max), stallMax_(stallMax) {}

    /// Return false if the queue is closed or the record found no room. In the latter case it is
    /// counted in a gap record.
    bool put(const RecordView& record);
    /// Accept no more records. Threads that wait for room stop waiting.
    void close();

    /// Wait up to `idle` for records, then up to 100 ms for more of them. Returns `most` records or
    /// slightly more, because pieces are not divided. Returns a gap record alone, so that it can
    /// grow until all records before it are written. Returns nothing after `idle`, or when the
    /// queue is closed and empty.
    LogBatch take(std::size_t most, std::chrono::milliseconds idle);
    /// Put a gap record that could not be written back to its place, where it can grow. Returns
    /// false if the batch is not a gap record.
    bool reopenGap(const LogBatch& batch);
    /// Return all records without waiting for more.
    std::deque<LogBatch> takeRest();
    /// Report that the records taken out are written, or with `isAside` in the side file.
    void done(bool isAside);

    void wake();
    bool isClosed() const;
    /// Wait for close(). Returns false after `time`.
    bool closedWithin(std::chrono::milliseconds time);
    /// Wait until no record is waiting. Returns false after `time`.
    bool emptyWithin(std::chrono::milliseconds time);
    void setFails(bool fails);
    LogCounts counts() const;

  private:
    bool waitForRoom(std::unique_lock<std::mutex>& lock);
    void countMissing(UtcTime time);
    /// Wait until all threads that waited for room have been counted. Until then a closed queue is
    /// not empty.
    void awaitWaiters(std::unique_lock<std::mutex>& lock);
    std::size_t waiting() const;
    LogBatch moveOut(std::size_t most);

    const std::size_t max_;
    const std::chrono::milliseconds stallMax_;
    mutable std::mutex mutex_;  // guards all members below
    std::condition_variable filled_;
    std::condition_variable room_;
    std::condition_variable written_;
    /// A piece of records or the gap record. There is at most one gap record.
    struct Item {
        PackedRecords records;
        std::unique_ptr<LogEntry> gap;
    };
    std::deque<Item> items_;
    LogEntry* gap_ = nullptr;  ///< the gap record in `items_`, if any
    std::size_t inItems_ = 0;  ///< number of records in `items_`, without the gap record
    std::size_t inHand_ = 0;   ///< number of records taken out and not done yet
    bool inHandHasGap_ = false;
    std::size_t waiters_ = 0;  ///< number of threads that wait for room
    bool hasStalled_ = false;  ///< a thread has waited in vain, and there was no room since
    bool closed_ = false;
    bool woken_ = false;
    LogCounts counts_;
};

}  // namespace kelp::oplog
