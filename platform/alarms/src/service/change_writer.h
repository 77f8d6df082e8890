#pragma once

#include <kelp/alarms/alarm_list.h>
#include <kelp/alarms/alarm_service.h>
#include <kelp/changelog/change_log.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <cstdint>
#include <set>
#include <vector>

#include "service/hand_over.h"
#include "service/intake_queue.h"

namespace kelp::alarms {

/// Writes changes to the log, applies them to the list, and passes their events on. One thread
/// calls write(). Any thread may call the other operations.
class ChangeWriter {
  public:
    ChangeWriter(const ServiceSettings& settings, changelog::ChangeLog& log, HandOver& handOver)
        : settings_(settings), log_(log), handOver_(handOver) {}

    /// Begin with this list. Called before the first write().
    void begin(AlarmList list) KELP_EXCLUDES(listMutex_);
    /// Write the submissions and answer them all. Waits while the log cannot be written, for each
    /// submission until its deadline. Does not throw.
    void write(std::vector<PendingPtr> pending) KELP_EXCLUDES(listMutex_);
    /// Refuse those submissions of the batch whose deadline has passed, because the channel accepts
    /// no events.
    static void refuseExpired(std::vector<PendingPtr>& batch);
    /// Do not wait for a log that cannot be written any more.
    void hurry() { isHurried_ = true; }

    std::shared_ptr<const ListState> snapshot() KELP_EXCLUDES(listMutex_);
    std::vector<AlarmId> quietFlapping(std::int64_t now) const KELP_EXCLUDES(listMutex_);
    Position applied() const KELP_EXCLUDES(listMutex_);

    std::uint64_t accepted() const { return accepted_; }
    std::uint64_t known() const { return known_; }

  private:
    /// The changes of a submission as they are written.
    struct Written {
        PendingPtr pending;
        std::vector<Change> changes;
    };

    /// What is written in one step.
    struct Batch {
        std::vector<Written> written;
        std::vector<changelog::NewRecord> records;
        std::set<std::string> keys;
        /// Submissions with a key that is written in this step: whether they are repeats is known
        /// afterwards.
        std::vector<PendingPtr> later;
    };

    /// Prepare submissions to be written. Answers those that are refused or repeated.
    Batch encoded(std::vector<PendingPtr> pending) KELP_EXCLUDES(listMutex_);
    /// Add a submission to the batch. Throws IntakeRefused.
    void add(PendingPtr& pending, std::set<AlarmId>& raised, Batch& batch)
        KELP_EXCLUDES(listMutex_);
    /// Answer a submission whose key is in the log. Returns false if it is not there. Throws
    /// IntakeRefused if the key belongs to other changes.
    bool answerRepeat(Pending& pending);
    /// Refuse a submission that would make the list too long. Adds the identities that it raises.
    void checkRoom(const std::vector<Content>& changes, std::set<AlarmId>& raised) const
        KELP_EXCLUDES(listMutex_);
    void apply(std::vector<Written>& batch, const std::vector<changelog::Appended>& places)
        KELP_EXCLUDES(listMutex_);
    std::int64_t nextTime();

    const ServiceSettings& settings_;
    changelog::ChangeLog& log_;
    HandOver& handOver_;
    std::atomic<bool> isHurried_{false};
    std::atomic<std::uint64_t> accepted_{0};
    std::atomic<std::uint64_t> known_{0};
    std::int64_t lastTime_ = 0;  // of the writing thread
    bool isBehind_ = false;      // of the writing thread: a record could not be applied

    mutable util::Mutex listMutex_{util::LockRank::Leaf, "ChangeWriter::listMutex_"};
    AlarmList list_ KELP_GUARDED_BY(listMutex_);
};

}  // namespace kelp::alarms
