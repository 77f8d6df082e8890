#include "screen/alarm_rows.h"

#include <algorithm>
#include <iterator>

namespace kelp::nms {

namespace {

/// Only ASCII letters have a lower case here.
std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

bool contains(const std::string& text, const std::string& part) {
    return lowerCase(text).find(part) != std::string::npos;
}

}  // namespace

void AlarmRows::changed(const AlarmChange& change) {
    using What = AlarmChange::What;
    if (change.what == What::Passed || change.what == What::Refused || change.what == What::Nothing)
        return;
    const bool isOver = change.what == What::Cleared || change.what == What::Gone;
    const bool stays = !isOver && filter_.accepts(*change.alarm);
    const bool wasSelected = selected_ != nullptr && selected_ == change.before;
    if (change.before != nullptr)
        remove(change.before);
    if (stays)
        insert(change.alarm);
    if (wasSelected && stays && rows().contains(change.alarm))
        selected_ = change.alarm;
    if (selected_ == nullptr && !rows().empty())
        selected_ = *rows().begin();
}

void AlarmRows::insert(const NmsAlarmPtr& alarm) {
    if (all_.insert(alarm).second)
        count(*alarm, true);
    if (!search_.empty() && isFound(*alarm))
        found_.insert(alarm);
}

void AlarmRows::remove(const NmsAlarmPtr& alarm) {
    if (const auto place = rows().find(alarm); place != rows().end()) {
        const auto below = std::next(place);
        const NmsAlarmPtr next = below == rows().end() ? nullptr : *below;
        if (alarm == selected_)
            selected_ = next || place == rows().begin() ? next : *std::prev(place);
        if (alarm == top_)
            top_ = next;
    }
    if (all_.erase(alarm) > 0)
        count(*alarm, false);
    found_.erase(alarm);
}

void AlarmRows::count(const NmsAlarm& alarm, bool isAdded) {
    const auto change = [isAdded](std::size_t& number) { isAdded ? ++number : --number; };
    change(counts_.at(static_cast<std::size_t>(alarm.severity)));
    if (!alarm.isAcknowledged)
        change(unacknowledged_);
}

bool AlarmRows::isFound(const NmsAlarm& alarm) const {
    const alarms::Name& name = alarm.id.objectName;
    return contains(shortNameOf(alarm.severity), search_) ||
           contains(alarm.id.probableCause, search_) ||
           contains(alarm.id.probableCauseQualifier, search_) || contains(alarm.emsTime, search_) ||
           std::any_of(name.begin(), name.end(), [this](const auto& component) {
               return contains(component.first + "=" + component.second, search_);
           });
}

void AlarmRows::search(const std::string& text) {
    search_ = lowerCase(text);
    found_.clear();
    if (!search_.empty()) {
        for (const NmsAlarmPtr& alarm : all_) {
            if (isFound(*alarm))
                found_.insert(found_.end(), alarm);
        }
    }
    top_ = nullptr;
    select(selected_ == nullptr ? rows().begin() : rows().lower_bound(selected_));
}

void AlarmRows::select(Rows::const_iterator place) {
    if (rows().empty())
        selected_ = nullptr;
    else
        selected_ = place == rows().end() ? *rows().rbegin() : *place;
}

void AlarmRows::selectFirst() {
    select(rows().begin());
}

void AlarmRows::selectLast() {
    select(rows().end());
}

void AlarmRows::moveSelection(int number) {
    if (selected_ == nullptr)
        return;
    auto place = rows().find(selected_);
    for (; number < 0 && place != rows().begin(); ++number)
        --place;
    for (; number > 0 && std::next(place) != rows().end(); --number)
        ++place;
    selected_ = *place;
}

std::vector<NmsAlarmPtr> AlarmRows::window(std::size_t height) {
    std::vector<NmsAlarmPtr> lines;
    if (selected_ == nullptr || height == 0)
        return lines;
    const auto selection = rows().find(selected_);
    auto first = top_ == nullptr ? rows().begin() : rows().lower_bound(top_);
    // the highest row from which the selection is still in the window
    auto highest = selection;
    for (std::size_t i = 1; i < height && highest != rows().begin(); ++i)
        --highest;
    if (first == rows().end() || comesBefore(*selected_, **first))
        first = selection;
    else if (comesBefore(**first, **highest))
        first = highest;
    // no empty lines below while there are rows above
    std::size_t below = 0;
    for (auto row = first; row != rows().end() && below < height; ++row)
        ++below;
    for (; below < height && first != rows().begin(); ++below)
        --first;
    top_ = first == rows().begin() ? nullptr : *first;
    for (auto row = first; row != rows().end() && lines.size() < height; ++row)
        lines.push_back(*row);
    return lines;
}

}  // namespace kelp::nms
