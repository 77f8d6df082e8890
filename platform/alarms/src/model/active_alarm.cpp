#include "kelp/alarms/active_alarm.h"

#include <tuple>

namespace kelp::alarms {

namespace {

auto fieldsOf(const ActiveAlarm& entry) {
    return std::tie(entry.notificationId, entry.changedAt, entry.raisedAt, entry.reportedAt,
                    entry.acknowledgedBy, entry.acknowledgedAt, entry.notepad, entry.repeats,
                    entry.isFlapping, entry.raises, entry.alarm);
}

}  // namespace

bool ActiveAlarm::operator==(const ActiveAlarm& other) const {
    const bool isSameUnsent =
        unsent && other.unsent ? *unsent == *other.unsent : unsent == other.unsent;
    return isSameUnsent && fieldsOf(*this) == fieldsOf(other);
}

}  // namespace kelp::alarms
