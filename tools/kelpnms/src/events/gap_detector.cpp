#include "events/gap_detector.h"

#include <algorithm>
#include <charconv>

namespace kelp::nms {

namespace {

std::optional<std::uint64_t> numberIn(const std::string& id) {
    std::uint64_t number = 0;
    const char* end = id.data() + id.size();
    const auto [stopped, error] = std::from_chars(id.data(), end, number);
    return error == std::errc() && stopped == end ? std::optional(number) : std::nullopt;
}

}  // namespace

void GapDetector::connecting() {
    isConnected_ = false;
    learned_.reset();
    lastHeartbeat_.reset();
    lastNumber_.reset();
    seen_.forget();
}

void GapDetector::silenceBegins(Clock::time_point now) {
    isConnected_ = true;
    lastSign_ = std::max(lastSign_, now);
}

GapDetector::Judgement GapDetector::eventCame(const EventRecord& event, Clock::time_point now) {
    lastSign_ = std::max(lastSign_, now);
    if (isHeartbeat(event))
        learnFrom(now);
    Judgement judgement;
    const std::string id = notificationIdOf(event);
    if (id.empty())
        return judgement;
    judgement.isDuplicate = seen_.isAgain(id, event);
    if (!judgement.isDuplicate) {
        if (auto notice = orderNotice(id))
            judgement.notices.push_back(std::move(*notice));
    }
    return judgement;
}

void GapDetector::learnFrom(Clock::time_point heartbeat) {
    if (!learned_ && lastHeartbeat_ && heartbeat - *lastHeartbeat_ >= kShortestInterval)
        learned_ = heartbeat - *lastHeartbeat_;
    lastHeartbeat_ = heartbeat;
}

std::optional<Notice> GapDetector::orderNotice(const std::string& id) {
    const auto number = numberIn(id);
    if (!number)
        return std::nullopt;
    const auto before = std::exchange(lastNumber_, number);
    if (!before || *number >= *before)
        return std::nullopt;
    return Notice{"notificationIdWentBack",
                  {{"notificationId", id}, {"after", std::to_string(*before)}},
                  "the EMS has restarted its ids, or events have overtaken each other"};
}

std::optional<GapDetector::Clock::time_point> GapDetector::overdueAt() const {
    const std::optional<Clock::duration> interval =
        given_ ? std::optional<Clock::duration>(*given_) : learned_;
    if (!isConnected_ || !interval)
        return std::nullopt;
    return lastSign_ + *interval + std::max<Clock::duration>(*interval / 2, kLeastPatience);
}

}  // namespace kelp::nms
