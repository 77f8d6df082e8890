#include "alarms/alarm_follow.h"

#include <utility>

#include "events/link_notices.h"

namespace kelp::nms {

namespace {

/// An EMS may send any number of alarms that cannot be used. Of a connection, the first are named.
constexpr unsigned kUnusableNamed = 10;

}  // namespace

void AlarmFollow::beginRead() {
    const util::MutexLock lock(mutex_);
    view_.beginRead();
    isReading_ = true;
    isFullTold_ = false;
    gone_ = 0;
    showState();
}

void AlarmFollow::listed(const EventRecord& event) {
    const util::MutexLock lock(mutex_);
    if (!isAlarm(event))
        return;
    if (const NmsAlarmPtr alarm = usable(event))
        apply(view_.listed(alarm));
}

bool AlarmFollow::endRead() {
    const util::MutexLock lock(mutex_);
    const AlarmView::ReadEnd end = view_.endRead();
    isReading_ = false;
    gone_ += end.gone.size();
    for (const AlarmChange& change : end.gone)
        apply(change);
    if (end.readAgain)
        return false;
    display_->notice({"resynchronised", {{"alarms", view_.size()}, {"gone", gone_}}, ""});
    display_->resynchronised(view_);
    showState();
    return true;
}

bool AlarmFollow::wantsRead() {
    const util::MutexLock lock(mutex_);
    return view_.wantsRead();
}

void AlarmFollow::askForRead() {
    const util::MutexLock lock(mutex_);
    view_.askForRead();
}

void AlarmFollow::show(const EventRecord& event) {
    const util::MutexLock lock(mutex_);
    if (isHeartbeat(event))
        gaps_.eventCame(event, Clock::now());
    else
        gaps_.heard(Clock::now());
    if (!isAlarm(event))
        return;
    if (const NmsAlarmPtr alarm = usable(event))
        apply(view_.eventCame(alarm));
}

NmsAlarmPtr AlarmFollow::usable(const EventRecord& event) {
    std::string whyNot;
    NmsAlarmPtr alarm = alarmOf(event, whyNot);
    if (alarm == nullptr && ++unusable_ <= kUnusableNamed)
        display_->notice({"alarmNotUsable",
                          {{"reason", whyNot}, {"fields", event.fields}},
                          "it is not in the list"});
    return alarm;
}

void AlarmFollow::apply(const AlarmChange& change) {
    if (change.what == AlarmChange::What::Nothing)
        return;
    if (change.what != AlarmChange::What::Refused)
        return display_->changed(change);
    if (!std::exchange(isFullTold_, true))
        display_->notice({"tooManyAlarms",
                          {{"alarms", view_.size()}},
                          "further alarms are not shown until some are cleared"});
}

void AlarmFollow::showState() {
    using State = AlarmDisplay::State;
    if (isReading_)
        display_->stateIs(State::Reading);
    else
        display_->stateIs(view_.isUncertain() ? State::Uncertain : State::InStep);
}

void AlarmFollow::tell(const Notice& notice) {
    const util::MutexLock lock(mutex_);
    display_->notice(notice);
}

void AlarmFollow::eventLossOccurred(const std::string& startTime,
                                    const std::string& notificationId) {
    const util::MutexLock lock(mutex_);
    view_.markUncertain();
    display_->notice(eventLossNotice(startTime, notificationId));
    showState();
}

void AlarmFollow::eventLossCleared(const std::string& endTime) {
    const util::MutexLock lock(mutex_);
    view_.askForRead();
    display_->notice(eventLossClearedNotice(endTime));
}

void AlarmFollow::alarmLossOccurred(const std::string& startTime,
                                    const std::string& notificationId) {
    const util::MutexLock lock(mutex_);
    view_.markUncertain();
    view_.askForRead();
    display_->notice(alarmLossNotice(startTime, notificationId));
    showState();
}

void AlarmFollow::connecting() {
    const util::MutexLock lock(mutex_);
    view_.reconnecting();
    gaps_.connecting();
    isReading_ = false;
    unusable_ = 0;
    display_->stateIs(AlarmDisplay::State::Connecting);
}

void AlarmFollow::connected() {
    const util::MutexLock lock(mutex_);
    gaps_.silenceBegins(Clock::now());
}

void AlarmFollow::lost(const std::string& why) {
    const util::MutexLock lock(mutex_);
    view_.markUncertain();
    isReading_ = false;
    display_->notice(connectionLostNotice(why));
    display_->stateIs(AlarmDisplay::State::Connecting);
}

void AlarmFollow::pausing(std::chrono::milliseconds pause) {
    tell(reconnectingNotice(pause));
}

void AlarmFollow::failed(const std::string& why) {
    tell(reconnectFailedNotice(why));
}

void AlarmFollow::reconnected(std::chrono::milliseconds away) {
    tell(reconnectedNotice(away));
}

void AlarmFollow::notLeft(const std::string& why) {
    tell(logOutFailedNotice(why));
}

std::optional<AlarmFollow::Clock::time_point> AlarmFollow::overdueAt() {
    const util::MutexLock lock(mutex_);
    return gaps_.overdueAt();
}

void AlarmFollow::stoodStill() {
    const util::MutexLock lock(mutex_);
    gaps_.silenceBegins(Clock::now());
}

AlarmFollow::Clock::time_point AlarmFollow::lastSign() {
    const util::MutexLock lock(mutex_);
    return gaps_.lastSign();
}

}  // namespace kelp::nms
