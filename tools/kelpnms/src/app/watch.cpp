#include "app/watch.h"

namespace kelp::nms {

void Watch::finish(End end) {
    const util::MutexLock lock(mutex_);
    if (!end_)
        end_ = end;
    changed_.notify_all();
}

void Watch::pinged() {
    report_->event("ping", {});
    bool enough = false;
    {
        const util::MutexLock lock(mutex_);
        ++pings_;
        enough = wanted_ != 0 && pings_ >= wanted_;
    }
    if (enough)
        finish(End::Enough);
}

void Watch::sessionEnded() {
    report_->event("endSession", {});
    finish(End::EndedByEms);
}

void Watch::eventLossOccurred(const std::string& startTime, const std::string& notificationId) {
    report_->event("eventLossOccurred",
                   {{"startTime", startTime}, {"notificationId", notificationId}});
}

void Watch::eventLossCleared(const std::string& endTime) {
    report_->event("eventLossCleared", {{"endTime", endTime}});
}

void Watch::alarmLossOccurred(const std::string& startTime, const std::string& notificationId) {
    report_->event("alarmLossOccurred",
                   {{"startTime", startTime}, {"notificationId", notificationId}});
}

void Watch::interrupt() {
    finish(End::Interrupted);
}

bool Watch::endedByEms() {
    const util::MutexLock lock(mutex_);
    return end_ == End::EndedByEms;
}

Watch::End Watch::wait(std::optional<std::chrono::milliseconds> limit) {
    std::optional<std::chrono::steady_clock::time_point> deadline;
    if (limit)
        deadline = std::chrono::steady_clock::now() + *limit;
    const util::MutexLock lock(mutex_);
    while (!end_) {
        if (!deadline)
            changed_.wait(mutex_);
        else if (changed_.wait_until(mutex_, *deadline) ==
                     util::ConditionVariable::Status::timeout &&
                 !end_)
            return End::TimeOver;
    }
    return *end_;
}

}  // namespace kelp::nms
