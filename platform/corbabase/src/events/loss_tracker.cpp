#include "events/loss_tracker.h"

#include <kelp/corbabase/time_text.h>

#include <cstring>

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;
using kelp::util::MutexUnlock;

/// Return a text from the event's filterable data; empty when no field has that name.
std::string textOf(const kelp::orb::EventView& event, const char* name) {
    std::string found;
    event.filterableData().forEach([&](const kelp::orb::EventProperty& property) {
        if (found.empty() && std::strcmp(property.name, name) == 0)
            found = property.value.with([](const CORBA::Any& any) {
                const char* text = nullptr;
                return (any >>= text) ? std::string(text) : std::string();
            });
    });
    return found;
}

}  // namespace

bool LossTracker::isCounted() {
    const MutexLock guard(mutex_);
    rounds_ = 0;
    return isLosing_;
}

void LossTracker::lost(const kelp::orb::EventView& first) {
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
