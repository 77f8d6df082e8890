#include "alarms/remembered_clears.h"

#include <algorithm>

namespace kelp::nms {

using alarms::AlarmId;
using alarms::Position;

void RememberedClears::add(const AlarmId& id, Position clear) {
    if (const auto known = find(id)) {
        if (*known >= clear)
            return;
        forget(id);
    }
    const auto place = clearOf_.emplace(id, clear).first;
    byPosition_.emplace(clear, &place->first);
    while (clearOf_.size() > max_) {
        lostUpTo_ = std::max(lostUpTo_, byPosition_.begin()->first);
        forgetFirst();
    }
}

std::optional<Position> RememberedClears::find(const AlarmId& id) const {
    const auto known = clearOf_.find(id);
    return known == clearOf_.end() ? std::nullopt : std::optional(known->second);
}

void RememberedClears::forget(const AlarmId& id) {
    const auto known = clearOf_.find(id);
    if (known == clearOf_.end())
        return;
    const auto [begin, end] = byPosition_.equal_range(known->second);
    byPosition_.erase(
        std::find_if(begin, end, [&](const auto& each) { return each.second == &known->first; }));
    clearOf_.erase(known);
}

void RememberedClears::forgetFirst() {
    const auto first = byPosition_.begin();
    const auto known = clearOf_.find(*first->second);
    byPosition_.erase(first);
    clearOf_.erase(known);
}

void RememberedClears::forgetUpTo(Position position) {
    while (!byPosition_.empty() && byPosition_.begin()->first <= position)
        forgetFirst();
}

void RememberedClears::reset() {
    clearOf_.clear();
    byPosition_.clear();
    lostUpTo_ = 0;
}

}  // namespace kelp::nms
