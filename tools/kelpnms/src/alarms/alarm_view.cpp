#include "alarms/alarm_view.h"

#include <algorithm>
#include <utility>

namespace kelp::nms {

namespace {

using alarms::Position;
using What = AlarmChange::What;

/// What a state means for somebody who knows the previous one.
What difference(const NmsAlarm& before, const NmsAlarm& now) {
    if (now.content != before.content || now.acknowledgement == before.acknowledgement)
        return What::Changed;
    if (now.isAcknowledged == before.isAcknowledged)
        return What::Changed;
    return now.isAcknowledged ? What::Acknowledged : What::Unacknowledged;
}

}  // namespace

AlarmView::AlarmView(const Settings& settings) : settings_(settings), clears_(settings.clearsMax) {}

void AlarmView::reconnecting() {
    isReading_ = false;
    highestOfConnection_ = 0;
}

void AlarmView::beginRead() {
    isReading_ = true;
    ++read_;
    markOfRead_ = highest_;
    hasContradiction_ = false;
    wantsRead_ = false;
    refused_ = 0;
}

AlarmChange AlarmView::listed(const NmsAlarmPtr& alarm) {
    noteId(alarm->notificationId);
    if (alarm->isClear())
        return {};
    const auto place = alarms_.find(alarm->id);
    if (place == alarms_.end())
        return unknownListed(alarm);
    Known& known = place->second;
    const NmsAlarm& shown = *known.alarm;
    known.read = read_;
    if (alarm->notificationId < shown.notificationId) {
        hasContradiction_ = hasContradiction_ || shown.notificationId <= markOfRead_;
        return {};
    }
    if (alarm->notificationId == shown.notificationId && alarm->content == shown.content &&
        alarm->acknowledgement == shown.acknowledgement)
        return {};
    return replace(known, alarm);
}

AlarmChange AlarmView::unknownListed(const NmsAlarmPtr& alarm) {
    const auto clear = clears_.find(alarm->id);
    if (clear && alarm->notificationId <= *clear) {
        hasContradiction_ = hasContradiction_ || *clear <= markOfRead_;
        return {};
    }
    if (alarm->notificationId <= mark_ && hasAllUpToMark_) {
        hasContradiction_ = true;
        return {};
    }
    return insert(alarm, read_);
}

AlarmView::ReadEnd AlarmView::endRead() {
    isReading_ = false;
    ReadEnd end;
    if (hasContradiction_) {
        startAnew(end.gone);
        end.readAgain = true;
        return end;
    }
    for (auto each = alarms_.begin(); each != alarms_.end();) {
        const auto place = each++;
        const NmsAlarmPtr& alarm = place->second.alarm;
        if (place->second.read != read_ && alarm->notificationId <= markOfRead_)
            end.gone.push_back({What::Gone, alarm, remove(place)});
    }
    mark_ = markOfRead_;
    // a clear that was forgotten may have hidden an entry of the list
    end.readAgain = clears_.lostUpTo() > mark_;
    clears_.forgetUpTo(mark_);
    isUncertain_ = isUncertain_ && end.readAgain;
    hasAllUpToMark_ = refused_ == 0;
    return end;
}

void AlarmView::startAnew(std::vector<AlarmChange>& gone) {
    while (!alarms_.empty()) {
        NmsAlarmPtr alarm = remove(alarms_.begin());
        gone.push_back({What::Gone, alarm, alarm});
    }
    clears_.reset();
    highest_ = highestOfConnection_;
    mark_ = 0;
    isUncertain_ = true;
}

AlarmChange AlarmView::eventCame(const NmsAlarmPtr& alarm) {
    const bool isAhead = alarm->notificationId > highestOfConnection_;
    noteId(alarm->notificationId);
    if (!alarm->isClearable && !alarm->isClear())
        return {What::Passed, alarm, nullptr};
    const auto place = alarms_.find(alarm->id);
    if (place == alarms_.end())
        return unknownCame(alarm, isAhead);
    Known& known = place->second;
    if (alarm->notificationId <= known.alarm->notificationId)
        return {};
    if (!alarm->isClear())
        return replace(known, alarm);
    clears_.add(alarm->id, alarm->notificationId);
    return {What::Cleared, alarm, remove(place)};
}

AlarmChange AlarmView::unknownCame(const NmsAlarmPtr& alarm, bool isAhead) {
    const Position id = alarm->notificationId;
    if (const auto clear = clears_.find(alarm->id); clear && id <= *clear)
        return {};
    if (id <= std::max(mark_, clears_.lostUpTo())) {
        wantsRead_ = wantsRead_ || isAhead;
        return {};
    }
    if (!alarm->isClear())
        return insert(alarm, 0);
    clears_.add(alarm->id, id);
    return {};
}

AlarmChange AlarmView::insert(const NmsAlarmPtr& alarm, unsigned read) {
    if (alarms_.size() >= settings_.alarmsMax) {
        ++refused_;
        hasAllUpToMark_ = false;
        return {What::Refused, alarm, nullptr};
    }
    clears_.forget(alarm->id);
    alarms_.emplace(alarm->id, Known{alarm, read});
    count(*alarm, true);
    return {What::Raised, alarm, nullptr};
}

AlarmChange AlarmView::replace(Known& known, const NmsAlarmPtr& alarm) {
    NmsAlarmPtr before = std::exchange(known.alarm, alarm);
    count(*before, false);
    count(*alarm, true);
    return {difference(*before, *alarm), alarm, before};
}

NmsAlarmPtr AlarmView::remove(Alarms::iterator place) {
    NmsAlarmPtr alarm = std::move(place->second.alarm);
    count(*alarm, false);
    alarms_.erase(place);
    return alarm;
}

void AlarmView::count(const NmsAlarm& alarm, bool isAdded) {
    const auto change = [isAdded](std::size_t& number) { isAdded ? ++number : --number; };
    change(counts_.at(static_cast<std::size_t>(alarm.severity)));
    if (!alarm.isAcknowledged)
        change(unacknowledged_);
}

void AlarmView::noteId(Position id) {
    highest_ = std::max(highest_, id);
    highestOfConnection_ = std::max(highestOfConnection_, id);
}

bool AlarmView::wantsRead() const {
    const bool hasRoomAgain =
        refused_ > 0 && alarms_.size() < settings_.alarmsMax - settings_.alarmsMax / 10;
    return !isReading_ && (wantsRead_ || hasRoomAgain);
}

NmsAlarmPtr AlarmView::find(const alarms::AlarmId& id) const {
    const auto known = alarms_.find(id);
    return known == alarms_.end() ? nullptr : known->second.alarm;
}

void AlarmView::forEach(const std::function<void(const NmsAlarmPtr&)>& use) const {
    for (const auto& [id, known] : alarms_)
        use(known.alarm);
}

}  // namespace kelp::nms
