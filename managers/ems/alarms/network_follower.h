#pragma once

#include <kelp/alarms/alarm_service.h>
#include <kelp/inventory/change_feed.h>
#include <kelp/util/mutex.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kelp::ems {

/// Carries the changes of the inventory into the change log, from which they become events. A
/// change stays in the inventory's outbox until it is in the log, and its key makes the log
/// recognise it when it is submitted again. So each change is logged once, also across kill -9.
///
/// Changes of the network never hold up alarms: they are submitted one after the other, at a
/// limited rate, and at most one a second while alarms are waiting.
///
/// Has a thread. Failures are traced and tried again after growing waits; the thread ends with
/// stop() only.
class NetworkFollower {
  public:
    struct Settings {
        std::filesystem::path inventory;
        std::size_t eventsPerSecond = 200;
        // The wait after a failure doubles until a change was submitted, or the inventory read.
        std::chrono::milliseconds firstWait{500};
        std::chrono::milliseconds longestWait{30'000};
    };
    /// Where changes are submitted. The follower's thread calls both.
    struct Intake {
        /// Throws alarms::IntakeRefused, and returns when the changes are durable.
        std::function<void(std::vector<alarms::Submission>, const std::string& key)> submit;
        /// Whether alarms are waiting.
        std::function<bool()> isBusy;
    };

    NetworkFollower(Settings settings, Intake intake);
    /// Calls stop().
    ~NetworkFollower() { stop(); }
    NetworkFollower(const NetworkFollower&) = delete;
    NetworkFollower& operator=(const NetworkFollower&) = delete;

    /// Changes are recorded from now on, unless the inventory cannot be opened, which is traced and
    /// tried again. Throws std::system_error if no thread can be created. To be called once.
    void start();
    /// Returns after the submission in progress. What is left stays in the outbox.
    void stop();

  private:
    using Clock = std::chrono::steady_clock;
    using FeedPtr = std::shared_ptr<inventory::ChangeFeed>;

    void run();
    void carryUntilStopped();
    FeedPtr currentFeed() KELP_EXCLUDES(mutex_);
    void closeFeed() KELP_EXCLUDES(mutex_);
    void carryBatch(inventory::ChangeFeed& feed, const std::vector<inventory::ObjectChange>& batch);
    void submit(const inventory::ObjectChange& change);
    bool waitForTurn();
    /// False if the follower is stopping.
    bool waitUntil(Clock::time_point time) KELP_EXCLUDES(mutex_);
    bool isStopping() KELP_EXCLUDES(mutex_);

    const Settings settings_;
    const Intake intake_;
    std::thread thread_;

    // of the thread
    const std::size_t batch_;
    Clock::time_point nextTurn_{};
    std::chrono::milliseconds wait_;

    util::Mutex mutex_{util::LockRank::Leaf, "NetworkFollower::mutex_"};
    util::ConditionVariable changed_;
    bool isStopping_ KELP_GUARDED_BY(mutex_) = false;
    FeedPtr feed_ KELP_GUARDED_BY(mutex_);  ///< stop() ends its wait
};

}  // namespace kelp::ems
