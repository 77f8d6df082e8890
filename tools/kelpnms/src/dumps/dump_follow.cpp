#include "dumps/dump_follow.h"

#include <fmt/core.h>

#include <utility>

#include "app/report.h"

namespace kelp::nms {

std::shared_ptr<WalkProgress> DumpFollow::beginDump() {
    const util::MutexLock lock(mutex_);
    wantsDump_ = false;
    pending_ = PendingChanges();
    progress_ = std::make_shared<WalkProgress>("entries");
    if (isInterrupted_)
        progress_->interrupt();
    return progress_;
}

void DumpFollow::askForDump() {
    const util::MutexLock lock(mutex_);
    wantsDump_ = true;
}

bool DumpFollow::wantsDump() {
    const util::MutexLock lock(mutex_);
    return wantsDump_;
}

bool DumpFollow::hasChanges() {
    const util::MutexLock lock(mutex_);
    return !pending_.isEmpty();
}

PendingChanges DumpFollow::takeChanges() {
    const util::MutexLock lock(mutex_);
    return std::exchange(pending_, PendingChanges());
}

void DumpFollow::interrupt() {
    const util::MutexLock lock(mutex_);
    isInterrupted_ = true;
    if (progress_)
        progress_->interrupt();
}

void DumpFollow::show(const EventRecord& event) {
    const util::MutexLock lock(mutex_);
    if (isHeartbeat(event))
        gaps_.eventCame(event, Clock::now());
    else
        gaps_.heard(Clock::now());
    if (wantsDump_ || pending_.take(event))
        return;
    // the dump that follows has the rest
    wantsDump_ = true;
    pending_ = PendingChanges();
    Report::error("a change cannot be applied to the file, or there are too many changes");
}

void DumpFollow::eventLossOccurred(const std::string& startTime,
                                   const std::string& /*notificationId*/) {
    Report::error("the EMS loses events since " + startTime +
                  "; the network is dumped again when the loss is over");
}

void DumpFollow::eventLossCleared(const std::string& /*endTime*/) {
    askForDump();
}

void DumpFollow::connecting() {
    const util::MutexLock lock(mutex_);
    gaps_.connecting();
}

void DumpFollow::connected() {
    const util::MutexLock lock(mutex_);
    gaps_.silenceBegins(Clock::now());
}

void DumpFollow::lost(const std::string& why) {
    Report::error("the connection is lost: " + why +
                  "; the file stays as it is until the network is dumped again");
}

void DumpFollow::pausing(std::chrono::milliseconds pause) {
    Report::error(
        fmt::format("connecting again in {:.1f} s", std::chrono::duration<double>(pause).count()));
}

void DumpFollow::failed(const std::string& why) {
    Report::error(why);
}

void DumpFollow::reconnected(std::chrono::milliseconds /*away*/) {
    Report::error("connected again");
}

void DumpFollow::notLeft(const std::string& why) {
    Report::error("the log-out failed: " + why);
}

std::optional<DumpFollow::Clock::time_point> DumpFollow::overdueAt() {
    const util::MutexLock lock(mutex_);
    return gaps_.overdueAt();
}

void DumpFollow::stoodStill() {
    const util::MutexLock lock(mutex_);
    gaps_.silenceBegins(Clock::now());
}

DumpFollow::Clock::time_point DumpFollow::lastSign() {
    const util::MutexLock lock(mutex_);
    return gaps_.lastSign();
}

}  // namespace kelp::nms
