#include "kelp/alarms/alarm_list.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace kelp::alarms {

namespace {

/// Whether `then` lies within the `span` before `now`. A clock that was set back ends every span.
bool isWithinSpan(std::int64_t then, std::int64_t now, std::chrono::microseconds span) {
    return then <= now && now - then < span.count();
}

/// Whether a report says what the list shows already.
bool isSameState(const Alarm& reported, const Alarm& shown) {
    if (reported.perceivedSeverity != shown.perceivedSeverity ||
        reported.additionalText != shown.additionalText)
        return false;
    Alarm compared = reported;
    compared.neTime = shown.neTime;
    compared.acknowledgeIndication = shown.acknowledgeIndication;
    return compared == shown;
}

Acknowledgement acknowledgementOfNew(const Alarm& reported) {
    return reported.acknowledgeIndication == Acknowledgement::Acknowledged
               ? Acknowledgement::Acknowledged
               : Acknowledgement::Unacknowledged;
}

Event eventAbout(const Entry& entry) {
    return {entry->notificationId, entry->changedAt, Event::AlarmContent(entry, &entry->alarm)};
}

}  // namespace

AlarmList::AlarmList(const ListSettings& settings) : settings_(settings) {}

AlarmList::AlarmList(const ListSettings& settings, ListState saved)
    : settings_(settings), state_(std::move(saved)) {
    for (const Entry& entry : state_.read()) {
        if (entry->isFlapping)
            flapping_.insert(identityOf(entry->alarm));
    }
    for (const auto& [position, clear] : state_.recentClears_)
        clearOf_.emplace(clear->id, position);
}

Effect AlarmList::apply(Position position, const Change& change) {
    if (position <= state_.position_)
        throw std::invalid_argument("record " + std::to_string(position) +
                                    " is not above the list's position " +
                                    std::to_string(state_.position_));
    state_.position_ = position;
    forgetOldClears(change.at);
    forgetOldHistory(change.at);
    return std::visit([&](const auto& what) { return applied(change.at, what); }, change.what);
}

std::shared_ptr<const ListState> AlarmList::snapshot() {
    ++generation_;
    return std::shared_ptr<const ListState>(new ListState(state_));
}

std::vector<AlarmId> AlarmList::quietFlapping(std::int64_t now) const {
    std::vector<AlarmId> quiet;
    for (const AlarmId& id : flapping_) {
        if (!isWithinSpan(state_.find(id)->reportedAt, now, settings_.flapQuiet))
            quiet.push_back(id);
    }
    return quiet;
}

Effect AlarmList::applied(std::int64_t at, const Report& report) {
    const Alarm& alarm = report.alarm;
    const bool isClear = alarm.perceivedSeverity == Severity::Cleared;
    if (!alarm.isClearable && !isClear)
        return passed(at, alarm);
    const AlarmId id = identityOf(alarm);
    const Entry known = state_.find(id);
    if (!known)
        return isClear ? Effect{Outcome::NotActive, {}} : raised(at, alarm, id);
    ActiveAlarm entry = *known;
    entry.reportedAt = at;
    if (entry.isFlapping)
        return coalesced(alarm, id, std::move(entry));
    if (isClear)
        return cleared(at, alarm, id, std::move(entry));
    if (isSameState(alarm, entry.alarm)) {
        ++entry.repeats;
        replace(id, std::move(entry));
        return {Outcome::Repeated, {}};
    }
    return changed(at, alarm, id, std::move(entry));
}

Effect AlarmList::applied(std::int64_t at, const Acknowledge& acknowledge) {
    const Entry known = state_.find(acknowledge.id);
    if (!known)
        return {Outcome::NotActive, {}};
    const auto wanted = acknowledge.isAcknowledged ? Acknowledgement::Acknowledged
                                                   : Acknowledgement::Unacknowledged;
    if (known->alarm.acknowledgeIndication == wanted)
        return {Outcome::AlreadySo, {}};
    ActiveAlarm entry = *known;
    entry.alarm.acknowledgeIndication = wanted;
    entry.acknowledgedBy = acknowledge.user;
    entry.acknowledgedAt = at;
    entry.notepad = acknowledge.notepad;
    return {acknowledge.isAcknowledged ? Outcome::Acknowledged : Outcome::Unacknowledged,
            send(at, acknowledge.id, std::move(entry))};
}

Effect AlarmList::applied(std::int64_t at, const Settle& settle) {
    const Entry known = state_.find(settle.id);
    if (!known)
        return {Outcome::NotActive, {}};
    if (!known->isFlapping || isWithinSpan(known->reportedAt, at, settings_.flapQuiet))
        return {Outcome::AlreadySo, {}};
    ActiveAlarm entry = *known;
    const auto unsent = std::exchange(entry.unsent, nullptr);
    entry.isFlapping = false;
    entry.raises.clear();
    if (!unsent) {
        replace(settle.id, std::move(entry));
        return {Outcome::AlreadySo, {}};
    }
    if (unsent->perceivedSeverity == Severity::Cleared)
        return cleared(at, *unsent, settle.id, std::move(entry));
    return changed(at, *unsent, settle.id, std::move(entry));
}

Effect AlarmList::applied(std::int64_t at, const NetworkChange& networkChange) {
    return {Outcome::Passed,
            Event{state_.position_, at, std::make_shared<const NetworkChange>(networkChange)}};
}

Effect AlarmList::passed(std::int64_t at, const Alarm& alarm) {
    ActiveAlarm sent;
    sent.alarm = alarm;
    sent.notificationId = state_.position_;
    sent.changedAt = sent.raisedAt = sent.reportedAt = at;
    addToHistory({std::move(sent), state_.position_, at});
    return {Outcome::Passed, Event{state_.position_, at, std::make_shared<const Alarm>(alarm)}};
}

Effect AlarmList::raised(std::int64_t at, const Alarm& alarm, const AlarmId& id) {
    ActiveAlarm entry;
    entry.alarm = alarm;
    entry.alarm.acknowledgeIndication = acknowledgementOfNew(alarm);
    entry.raisedAt = entry.reportedAt = at;
    entry.raises = raisesAfterClear(at, id);
    if (entry.raises.size() > settings_.flapRaises) {
        entry.isFlapping = true;
        entry.raises.clear();
    }
    return {Outcome::Raised, send(at, id, std::move(entry))};
}

Effect AlarmList::coalesced(const Alarm& alarm, const AlarmId& id, ActiveAlarm entry) {
    ++entry.repeats;
    entry.unsent = isSameState(alarm, entry.alarm) ? nullptr : std::make_shared<const Alarm>(alarm);
    replace(id, std::move(entry));
    return {Outcome::Coalesced, {}};
}

Effect AlarmList::changed(std::int64_t at, const Alarm& alarm, const AlarmId& id,
                          ActiveAlarm entry) {
    const bool isOtherSeverity = alarm.perceivedSeverity != entry.alarm.perceivedSeverity;
    const auto acknowledgement = entry.alarm.acknowledgeIndication;
    entry.alarm = alarm;
    entry.alarm.acknowledgeIndication = acknowledgement;
    if (isOtherSeverity) {
        entry.alarm.acknowledgeIndication = acknowledgementOfNew(alarm);
        entry.acknowledgedBy.clear();
        entry.acknowledgedAt = 0;
        entry.notepad.clear();
    }
    return {Outcome::Changed, send(at, id, std::move(entry))};
}

Effect AlarmList::cleared(std::int64_t at, const Alarm& alarm, const AlarmId& id,
                          ActiveAlarm entry) {
    Alarm sent = alarm;
    sent.acknowledgeIndication = entry.alarm.acknowledgeIndication;
    rememberClear(at, id, entry.raises);
    remove(id);
    addToHistory({std::move(entry), state_.position_, at});
    return {Outcome::Cleared,
            Event{state_.position_, at, std::make_shared<const Alarm>(std::move(sent))}};
}

Event AlarmList::send(std::int64_t at, const AlarmId& id, ActiveAlarm entry) {
    entry.notificationId = state_.position_;
    entry.changedAt = at;
    return eventAbout(replace(id, std::move(entry)));
}

Entry AlarmList::replace(const AlarmId& id, ActiveAlarm changed) {
    Entry entry = std::make_shared<const ActiveAlarm>(std::move(changed));
    auto& entries = writableBlock(id);
    const auto place = placeOf(entries, id);
    const bool isKnown = place != entries.end() && compareIdentity((*place)->alarm, id) == 0;
    if (isKnown) {
        state_.count(**place, false);
        *place = entry;
    } else {
        entries.insert(place, entry);
    }
    state_.count(*entry, true);
    if (entry->isFlapping)
        flapping_.insert(id);
    else
        flapping_.erase(id);
    return entry;
}

void AlarmList::remove(const AlarmId& id) {
    auto& entries = writableBlock(id);
    const auto place = placeOf(entries, id);
    state_.count(**place, false);
    entries.erase(place);
    flapping_.erase(id);
}

std::vector<Entry>& AlarmList::writableBlock(const AlarmId& id) {
    auto& block = state_.blocks_[ListState::blockOf(id)];
    if (!block || block->generation != generation_) {
        // snapshots share the old one
        auto fresh = std::make_shared<ListState::Block>();
        if (block)
            fresh->entries = block->entries;
        fresh->generation = generation_;
        block = std::move(fresh);
    }
    return block->entries;
}

std::vector<Entry>::iterator AlarmList::placeOf(std::vector<Entry>& entries, const AlarmId& id) {
    return std::lower_bound(entries.begin(), entries.end(), id,
                            [](const Entry& entry, const AlarmId& wanted) {
                                return compareIdentity(entry->alarm, wanted) < 0;
                            });
}

void AlarmList::rememberClear(std::int64_t at, const AlarmId& id,
                              const std::vector<std::int64_t>& raises) {
    auto clear = std::make_shared<ListState::RecentClear>();
    clear->id = id;
    clear->clearedAt = at;
    clear->raises = raises;
    state_.recentClears_.emplace(state_.position_, std::move(clear));
    clearOf_[id] = state_.position_;
    while (state_.recentClears_.size() > settings_.recentClearsMax)
        forgetOldestClear();
}

std::vector<std::int64_t> AlarmList::raisesAfterClear(std::int64_t at, const AlarmId& id) {
    const auto known = clearOf_.find(id);
    if (known == clearOf_.end())
        return {};
    const auto clear = state_.recentClears_.find(known->second);
    std::vector<std::int64_t> raises = clear->second->raises;
    state_.recentClears_.erase(clear);
    clearOf_.erase(known);
    std::erase_if(
        raises, [&](std::int64_t raise) { return !isWithinSpan(raise, at, settings_.flapWindow); });
    raises.push_back(at);
    return raises;
}

void AlarmList::forgetOldestClear() {
    const auto oldest = state_.recentClears_.begin();
    clearOf_.erase(oldest->second->id);
    state_.recentClears_.erase(oldest);
}

void AlarmList::forgetOldClears(std::int64_t at) {
    auto& clears = state_.recentClears_;
    while (!clears.empty() &&
           !isWithinSpan(clears.begin()->second->clearedAt, at, settings_.flapWindow))
        forgetOldestClear();
}

void AlarmList::addToHistory(PastAlarm past) {
    state_.history_.push_back(std::make_shared<const PastAlarm>(std::move(past)));
    while (state_.history_.size() > settings_.historyMax)
        state_.history_.pop_front();
}

void AlarmList::forgetOldHistory(std::int64_t at) {
    auto& history = state_.history_;
    while (!history.empty() && at - history.front()->endedAt > settings_.historyAge.count())
        history.pop_front();
}

}  // namespace kelp::alarms
