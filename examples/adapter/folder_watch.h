#pragma once

#include <kelp/alarms/intake.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "counts.h"
#include "settings.h"

namespace kelp::example {

/// Submits the files that appear in a folder, in the order of their names, and removes each when
/// its reports are durable. Files that contain something invalid are moved to the folder "refused"
/// in it instead. Has a thread.
class FolderWatch {
  public:
    /// Start the thread.
    explicit FolderWatch(Settings settings);
    /// End the thread. Waits for a submission in progress, at most `[alarms] intake_wait_ms`.
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    const Counts& counts() const { return counts_; }

  private:
    void run();
    void readFolder();
    std::vector<std::string> names() const;
    void moveToRefused(const std::filesystem::path& file);
    bool waitForNextRound() KELP_EXCLUDES(mutex_);

    const Settings settings_;
    const alarms::Intake intake_{"alarm_folder"};
    Counts counts_;
    std::atomic<bool> isStopping_{false};
    util::Mutex mutex_{util::LockRank::Leaf, "FolderWatch::mutex_"};
    util::ConditionVariable changed_;
    std::thread thread_;
};

}  // namespace kelp::example
