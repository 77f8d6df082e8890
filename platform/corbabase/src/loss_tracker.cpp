#include "loss_tracker.h"

#include <kelp/corbabase/time_text.h>

#include <cstring>

namespace NS_CORBA {

namespace {

/// A text out of the event's filterable data; empty when there is none of that name.
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

std::optional<LossTracker::Start> LossTracker::lost(const CosNotification::StructuredEvent& first) {
    {
        const std::lock_guard guard(mutex_);
        rounds_ = 0;
        if (isLosing_)
            return std::nullopt;
        isLosing_ = true;
    }
    Start start{textOf(first, "emsTime"), textOf(first, "notificationId")};
    if (start.time.empty())
        start.time = ConfiguredTimeText(std::time(nullptr));
    return start;
}

bool LossTracker::roundBegins(bool isDrained) {
    const std::lock_guard guard(mutex_);
    if (!isLosing_)
        return false;
    ++rounds_;
    if (rounds_ < kRounds || !isDrained)
        return false;
    isLosing_ = false;
    return true;
}

}  // namespace NS_CORBA
