#pragma once

#include <kelp/oplog/operation_log.h>
#include <kelp/util/mutex.h>

#include <deque>
#include <memory>

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
    bool put(const RecordView& record) KELP_EXCLUDES(mutex_);
    /// Accept no more records. Threads that wait for room stop waiting.
    void close() KELP_EXCLUDES(mutex_);

    /// Wait up to `idle` for records, then up to 100 ms for more of them. Returns `most` records or
    /// slightly more, because pieces are not divided. Returns a gap record alone, so that it can
    /// grow until all records before it are written. Returns nothing after `idle`, or when the
    /// queue is closed and empty.
    LogBatch take(std::size_t most, std::chrono::milliseconds idle) KELP_EXCLUDES(mutex_);
    /// Put a gap record that could not be written back to its place, where it can grow. Returns
    /// false if the batch is not a gap record.
    bool reopenGap(const LogBatch& batch) KELP_EXCLUDES(mutex_);
    /// Return all records without waiting for more.
    std::deque<LogBatch> takeRest() KELP_EXCLUDES(mutex_);
    /// Report that the records taken out are written, or with `isAside` in the side file.
    void done(bool isAside) KELP_EXCLUDES(mutex_);

    void wake() KELP_EXCLUDES(mutex_);
    bool isClosed() const KELP_EXCLUDES(mutex_);
    /// Wait for close(). Returns false after `time`.
    bool closedWithin(std::chrono::milliseconds time) KELP_EXCLUDES(mutex_);
    /// Wait until every record is done. Returns false after `time`.
    bool emptyWithin(std::chrono::milliseconds time) KELP_EXCLUDES(mutex_);
    void setFails(bool fails) KELP_EXCLUDES(mutex_);
    LogCounts counts() const KELP_EXCLUDES(mutex_);

  private:
    bool waitForRoom() KELP_REQUIRES(mutex_);
    void countMissing(UtcTime time) KELP_REQUIRES(mutex_);
    /// Wait until all threads that waited for room have been counted. Until then a closed queue is
    /// not empty.
    void awaitWaiters() KELP_REQUIRES(mutex_);
    std::size_t waiting() const KELP_REQUIRES(mutex_);
    /// Whether a record or a gap record is waiting or taken out.
    bool hasWork() const KELP_REQUIRES(mutex_);
    LogBatch moveOut(std::size_t most) KELP_REQUIRES(mutex_);

    const std::size_t max_;
    const std::chrono::milliseconds stallMax_;
    mutable util::Mutex mutex_{util::LockRank::Service, "LogQueue::mutex_"};
    util::ConditionVariable filled_;
    util::ConditionVariable room_;
    util::ConditionVariable written_;
    /// A piece of records or the gap record. There is at most one gap record.
    struct Item {
        PackedRecords records;
        std::unique_ptr<LogEntry> gap;
    };
    std::deque<Item> items_ KELP_GUARDED_BY(mutex_);
    /// The gap record in `items_`, if any.
    LogEntry* gap_ KELP_GUARDED_BY(mutex_) = nullptr;
    /// Number of records in `items_`, without the gap record.
    std::size_t inItems_ KELP_GUARDED_BY(mutex_) = 0;
    /// Number of records taken out and not done yet.
    std::size_t inHand_ KELP_GUARDED_BY(mutex_) = 0;
    bool inHandHasGap_ KELP_GUARDED_BY(mutex_) = false;
    /// Number of threads that wait for room.
    std::size_t waiters_ KELP_GUARDED_BY(mutex_) = 0;
    /// A thread has waited in vain, and there was no room since.
    bool hasStalled_ KELP_GUARDED_BY(mutex_) = false;
    bool closed_ KELP_GUARDED_BY(mutex_) = false;
    bool woken_ KELP_GUARDED_BY(mutex_) = false;
    LogCounts counts_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::oplog
