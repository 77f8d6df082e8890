#include "alarms/event_tally.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "alarms/stamp.h"

namespace kelp::bench {

namespace {

/// The value of a text field; null when the event has no such field.
const char* textOf(const CosNotification::StructuredEvent& event, const char* name) {
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        const char* text = nullptr;
        if (std::strcmp(event.filterable_data[i].name.in(), name) == 0 &&
            (event.filterable_data[i].value >>= text))
            return text;
    }
    return nullptr;
}

std::int64_t quantile(const std::vector<std::int64_t>& sorted, std::size_t percent) {
    return sorted.empty() ? 0 : sorted[std::min(sorted.size() - 1, sorted.size() * percent / 100)];
}

}  // namespace

void EventTally::count(const CosNotification::StructuredEvent& event) {
    const char* const stamp = textOf(event, "additionalText");
    const char* const id = textOf(event, "notificationId");
    if (stamp == nullptr || id == nullptr || !std::string_view(stamp).starts_with(kStampPrefix))
        return;
    count(std::strtoull(id, nullptr, 10), std::strtoll(stamp + kStampPrefix.size(), nullptr, 10));
}

void EventTally::count(std::uint64_t notificationId, std::int64_t sent) {
    const std::int64_t now = stampNow();
    const std::lock_guard guard(mutex_);
    if (notificationId <= lastId_)
        ++outOfOrder_;
    lastId_ = std::max(lastId_, notificationId);
    delays_.push_back(now - sent);
}

void EventTally::reset() {
    const std::lock_guard guard(mutex_);
    delays_.clear();
    outOfOrder_ = 0;
}

std::string EventTally::report() const {
    const std::lock_guard guard(mutex_);
    std::vector<std::int64_t> sorted = delays_;
    std::sort(sorted.begin(), sorted.end());
    return std::to_string(sorted.size()) + ' ' + std::to_string(outOfOrder_) + ' ' +
           std::to_string(quantile(sorted, 50)) + ' ' + std::to_string(quantile(sorted, 99));
}

}  // namespace kelp::bench
