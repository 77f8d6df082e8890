#include "events/loss_tracker.h"

#include <kelp/corbabase/time_text.h>

#include <cstring>

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;
using kelp::util::MutexUnlock;

/// Return a text from the event's filterable data; empty when no field has that name.
std::string textOf(const CosNotification::StructuredEvent& event, const char* name) {
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        const char* text = nullptr;
        if (std::strcmp(event.filterable_data[i].name.in(), name) == 0 &&
            (event.filterable_data[i].value >>= text))
            return std::string(text);
    }
    return {};
}

}  // namespace

bool LossTracker::isCounted() {
    const MutexLock guard(mutex_);
    rounds_ = 0;
    return isLosing_;
}

void LossTracker::lost(const CosNotification::StructuredEvent& first) {
    if (isCounted())
        return;
    Report report{Start{textOf(first, "emsTime"), textOf(first, "notificationId")}};
    if (report.start->time.empty())
        report.start->time = ConfiguredTimeText(std::time(nullptr));
    const MutexLock lock(mutex_);
    rounds_ = 0;
    if (isLosing_)
        return;
    waiting_.push_back(std::move(report));
    isLosing_ = true;
    makeReports();
}

void LossTracker::roundBegins(bool isDrained) {
    const MutexLock lock(mutex_);
    if (!isLosing_)
        return;
    ++rounds_;
    if (rounds_ < kRounds || !isDrained)
        return;
    waiting_.push_back({std::nullopt, std::time(nullptr)});
    isLosing_ = false;
    makeReports();
}

void LossTracker::makeReports() {
    // reports of two threads, made without the lock, could overtake each other
    if (isReporting_)
        return;
    isReporting_ = true;
    while (!waiting_.empty()) {
        const Report next = std::move(waiting_.front());
        waiting_.pop_front();
        const MutexUnlock unlocked(mutex_);
        if (next.start)
            reports_.occurred(*next.start);
        else
            reports_.cleared(next.endTime);
    }
    isReporting_ = false;
}

}  // namespace NS_CORBA
