#include "kelp/alarms/list_state.h"

#include <algorithm>

namespace kelp::alarms {

namespace {

bool isSameEntry(const Entry& one, const Entry& other) {
    return one == other || *one == *other;
}

bool isWithin(const Name& name, const Name& object, bool withContained) {
    if (name.size() < object.size() || (name.size() > object.size() && !withContained))
        return false;
    return std::equal(object.begin(), object.end(), name.begin());
}

}  // namespace

bool AlarmQuery::accepts(const ActiveAlarm& entry) const {
    return (object.empty() || isWithin(entry.alarm.objectName, object, withContained)) &&
           !severitiesExcluded.contains(entry.alarm.perceivedSeverity) &&
           !probableCausesExcluded.contains(entry.alarm.probableCause) &&
           !(onlyUnacknowledged && entry.isAcknowledged()) && (!also || also(entry));
}

ListState::ListState() : blocks_(kBlocks) {}

Entry ListState::find(const AlarmId& id) const {
    const auto& block = blocks_[blockOf(id)];
    if (!block)
        return nullptr;
    const auto& entries = block->entries;
    const auto place = std::lower_bound(entries.begin(), entries.end(), id,
                                        [](const Entry& entry, const AlarmId& wanted) {
                                            return compareIdentity(entry->alarm, wanted) < 0;
                                        });
    if (place == entries.end() || compareIdentity((*place)->alarm, id) != 0)
        return nullptr;
    return *place;
}

std::vector<Entry> ListState::read(const AlarmQuery& query) const {
    std::vector<Entry> all;
    for (const auto& block : blocks_) {
        if (!block)
            continue;
        for (const Entry& entry : block->entries) {
            if (query.accepts(*entry))
                all.push_back(entry);
        }
    }
    std::sort(all.begin(), all.end(), [](const Entry& one, const Entry& other) {
        return one->notificationId < other->notificationId;
    });
    return all;
}

void ListState::count(const ActiveAlarm& entry, bool isAdded) {
    const std::size_t change = isAdded ? 1 : static_cast<std::size_t>(-1);
    size_ += change;
    counts_.at(static_cast<std::size_t>(entry.alarm.perceivedSeverity)) += change;
    if (!entry.isAcknowledged())
        unacknowledged_ += change;
}

bool ListState::operator==(const ListState& other) const {
    const auto isSamePointee = [](const auto& one, const auto& another) {
        return *one == *another;
    };
    const auto mine = read();
    const auto theirs = other.read();
    return position_ == other.position_ && size_ == other.size_ && counts_ == other.counts_ &&
           unacknowledged_ == other.unacknowledged_ &&
           std::equal(mine.begin(), mine.end(), theirs.begin(), theirs.end(), isSameEntry) &&
           std::equal(history_.begin(), history_.end(), other.history_.begin(),
                      other.history_.end(), isSamePointee) &&
           std::equal(recentClears_.begin(), recentClears_.end(), other.recentClears_.begin(),
                      other.recentClears_.end(), [](const auto& one, const auto& another) {
                          return one.first == another.first && *one.second == *another.second;
                      });
}

}  // namespace kelp::alarms
