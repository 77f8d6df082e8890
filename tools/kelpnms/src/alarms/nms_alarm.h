#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/alarms/alarm_id.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "events/event_record.h"

namespace kelp::nms {

/// A state of an alarm, as one event of the EMS tells it. Never changed after it was made, so that
/// any thread may keep and read it.
struct NmsAlarm {
    alarms::AlarmId id;
    alarms::Position notificationId = 0;
    alarms::Severity severity = alarms::Severity::Indeterminate;
    bool isClearable = true;
    bool isAcknowledged = false;
    std::string emsTime;          ///< in the EMS's layout
    std::string acknowledgement;  ///< the acknowledgeIndication; empty if it is not told
    /// The event's other fields, in CBOR. Two states with the same content differ at most in
    /// notification id, time and acknowledgement.
    std::string content;

    bool isClear() const { return severity == alarms::Severity::Cleared; }
};
using NmsAlarmPtr = std::shared_ptr<const NmsAlarm>;

/// Whether the event is an alarm, and no heartbeat in the form of an alarm.
bool isAlarm(const EventRecord& event);

/// Convert the event of an alarm. Returns null, and says in `whyNot` what is wrong with it, if the
/// state cannot be merged with others: it has no notification id that is a number above 0, or no
/// proper name of an object. Any other field may be missing or have a wrong type.
NmsAlarmPtr alarmOf(const EventRecord& event, std::string& whyNot);

/// Return the identity in the event. Throws alarms::WrongAlarm if the name of its object is wrong.
alarms::AlarmId identityIn(const EventRecord& event);

/// Return the fields of the alarm's event, as it had them.
nlohmann::ordered_json fieldsOf(const NmsAlarm& alarm);

/// The order in which operators see alarms: by severity (critical, major, minor, warning,
/// indeterminate), then the newest first.
bool comesBefore(const NmsAlarm& one, const NmsAlarm& other);

/// "critical", "major", "minor", "warning", "indeterminate" or "cleared".
const char* shortNameOf(alarms::Severity severity);
/// The severity with this short name.
std::optional<alarms::Severity> severityNamed(std::string_view shortName);
/// The severities of active alarms, the most severe first.
inline constexpr alarms::Severity kSeverityOrder[] = {
    alarms::Severity::Critical, alarms::Severity::Major, alarms::Severity::Minor,
    alarms::Severity::Warning, alarms::Severity::Indeterminate};

}  // namespace kelp::nms
