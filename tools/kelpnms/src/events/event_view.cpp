#include "events/event_view.h"

#include "events/link_notices.h"

namespace kelp::nms {

namespace {

constexpr const char* kLossGoesOn =
    "events may be missing from here on, of this NMS or another: resynchronise when the loss is "
    "over";

}  // namespace

void EventView::show(const EventRecord& event) {
    // each event is shown before the next one is counted, so that the last event counted is the
    // last line
    const util::MutexLock lock(mutex_);
    if (wanted_ != 0 && shown_ >= wanted_)
        return;
    const GapDetector::Judgement judgement = gaps_.eventCame(event, Clock::now());
    for (const Notice& notice : judgement.notices)
        report_.notice(notice);
    report_.event(event, judgement.isDuplicate);
    if (!judgement.isDuplicate && ++shown_ == wanted_)
        whenEnough_();
}

void EventView::tell(const Notice& notice) {
    const util::MutexLock lock(mutex_);
    report_.notice(notice);
}

void EventView::eventLossOccurred(const std::string& startTime, const std::string& notificationId) {
    tell(eventLossNotice(startTime, notificationId, kLossGoesOn));
}

void EventView::eventLossCleared(const std::string& endTime) {
    tell(eventLossClearedNotice(endTime, kResynchronise));
}

void EventView::alarmLossOccurred(const std::string& startTime, const std::string& notificationId) {
    tell(alarmLossNotice(startTime, notificationId, kResynchronise));
}

void EventView::connecting() {
    const util::MutexLock lock(mutex_);
    gaps_.connecting();
}

void EventView::connected() {
    const util::MutexLock lock(mutex_);
    gaps_.silenceBegins(Clock::now());
    if (!hasBegun_)
        report_.begin();
    hasBegun_ = true;
}

void EventView::lost(const std::string& why) {
    tell(connectionLostNotice(why));
}

void EventView::pausing(std::chrono::milliseconds pause) {
    tell(reconnectingNotice(pause));
}

void EventView::failed(const std::string& why) {
    tell(reconnectFailedNotice(why));
}

void EventView::reconnected(std::chrono::milliseconds away) {
    tell(reconnectedNotice(away, kResynchronise));
}

void EventView::notLeft(const std::string& why) {
    tell(logOutFailedNotice(why));
}

std::optional<EventView::Clock::time_point> EventView::overdueAt() {
    const util::MutexLock lock(mutex_);
    return gaps_.overdueAt();
}

void EventView::stoodStill() {
    const util::MutexLock lock(mutex_);
    gaps_.silenceBegins(Clock::now());
}

EventView::Clock::time_point EventView::lastSign() {
    const util::MutexLock lock(mutex_);
    return gaps_.lastSign();
}

}  // namespace kelp::nms
