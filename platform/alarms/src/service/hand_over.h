#pragma once

#include <kelp/alarms/event_sink.h>
#include <kelp/changelog/change_log.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <thread>
#include <vector>

namespace kelp::alarms {

/// Hands the events over to the sink, in order and on a separate thread, and notes in the log how
/// far it has come. Any thread may call it.
class HandOver {
  public:
    /// The mark in the log: the last position of which nothing is to be handed over any more. It
    /// may lag behind, so events may be sent twice after a crash.
    static constexpr const char* kMark = "handed over";

    /// `log` must live as long as this object. Nothing is handed over before start().
    explicit HandOver(changelog::ChangeLog& log) : log_(log) {}
    ~HandOver() { stop(std::chrono::milliseconds(0)); }
    HandOver(const HandOver&) = delete;
    HandOver& operator=(const HandOver&) = delete;

    void start();
    /// End the thread. Events that the sink does not accept within `grace` stay in the log.
    void stop(std::chrono::milliseconds grace) KELP_EXCLUDES(mutex_);

    /// See AlarmService::setSink().
    void setSink(EventSink* sink) KELP_EXCLUDES(sinkMutex_, mutex_);

    /// Add the events of the records up to and including `upTo`.
    void add(std::vector<Event> events, Position upTo) KELP_EXCLUDES(mutex_);
    /// Wait while more than `unsentMax` events wait, until doNotWait(). Return false when they
    /// still do at `deadline`.
    bool waitForRoom(std::size_t unsentMax, std::chrono::steady_clock::time_point deadline)
        KELP_EXCLUDES(mutex_);
    /// Let waitForRoom() return at once from now on, because the service stops.
    void doNotWait() KELP_EXCLUDES(mutex_);

    Position handedOver() const KELP_EXCLUDES(mutex_);
    std::uint64_t sent() const KELP_EXCLUDES(mutex_);
    std::size_t unsent() const KELP_EXCLUDES(mutex_);

  private:
    using Clock = std::chrono::steady_clock;

    void run();
    /// The next events to offer; none when the thread is to end.
    std::vector<Event> nextEvents() KELP_EXCLUDES(mutex_);
    bool offer(const std::vector<Event>& events) KELP_EXCLUDES(sinkMutex_);
    void noteSent(const std::vector<Event>& events) KELP_EXCLUDES(mutex_);
    /// Wait before the same events are offered again. False when the thread is to end.
    bool waitForSink() KELP_EXCLUDES(mutex_);
    bool isOver() const KELP_REQUIRES(mutex_) { return isStopping_ && Clock::now() >= end_; }
    void saveMark() KELP_EXCLUDES(mutex_);

    changelog::ChangeLog& log_;
    std::thread thread_;

    // held while the sink is called, so that a sink that was replaced is not called any more
    util::Mutex sinkMutex_{util::LockRank::Agent, "HandOver::sinkMutex_"};
    EventSink* sink_ KELP_GUARDED_BY(sinkMutex_) = nullptr;

    mutable util::Mutex mutex_{util::LockRank::Leaf, "HandOver::mutex_"};
    util::ConditionVariable changed_;
    std::deque<Event> unsent_ KELP_GUARDED_BY(mutex_);
    Position applied_ KELP_GUARDED_BY(mutex_) = 0;  // of the newest record
    Position handedOver_ KELP_GUARDED_BY(mutex_) = 0;
    Position saved_ KELP_GUARDED_BY(mutex_) = 0;  // the mark
    Clock::time_point saveAfter_ KELP_GUARDED_BY(mutex_);
    std::uint64_t sent_ KELP_GUARDED_BY(mutex_) = 0;
    bool isUnlimited_ KELP_GUARDED_BY(mutex_) = false;
    bool isStopping_ KELP_GUARDED_BY(mutex_) = false;
    Clock::time_point end_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::alarms
