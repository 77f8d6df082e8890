#include "alarms/nms_alarm.h"

#include <kelp/alarms/alarm_json.h>
#include <kelp/alarms/enum_names.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <tuple>

namespace kelp::nms {

namespace {

using alarms::Severity;
using Json = nlohmann::ordered_json;

constexpr const char* kNotificationId = "notificationId";
constexpr const char* kEmsTime = "emsTime";
constexpr const char* kAcknowledgement = "acknowledgeIndication";

// the enumerators' numbers are the indices
constexpr std::array<const char*, alarms::kSeverities> kShortNames{
    "indeterminate", "critical", "major", "minor", "warning", "cleared"};

alarms::Position notificationNumber(const EventRecord& event) {
    const std::string text = notificationIdOf(event);
    alarms::Position number = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stopped == end ? number : 0;
}

std::int16_t layerRateOf(const EventRecord& event) {
    const auto found = event.fields.find("layerRate");
    if (found == event.fields.end() || !found->is_number_integer())
        return alarms::AlarmId().layerRate;
    const auto rate = found->get<std::int64_t>();
    return rate < std::numeric_limits<std::int16_t>::min() ||
                   rate > std::numeric_limits<std::int16_t>::max()
               ? alarms::AlarmId().layerRate
               : static_cast<std::int16_t>(rate);
}

alarms::Name objectNameOf(const EventRecord& event) {
    const auto found = event.fields.find("objectName");
    return found == event.fields.end() ? alarms::Name()
                                       : alarms::readName(*found, "its objectName");
}

/// A severity that the standard does not know counts as indeterminate.
Severity severityIn(const EventRecord& event) {
    const auto& names = alarms::severityNames();
    const auto found = std::find(names.begin(), names.end(), textOf(event, "perceivedSeverity"));
    return found == names.end() ? Severity::Indeterminate
                                : static_cast<Severity>(found - names.begin());
}

bool isClearableIn(const EventRecord& event) {
    const auto found = event.fields.find("isClearable");
    return found == event.fields.end() || !found->is_boolean() || found->get<bool>();
}

/// Return the field's text, and take the field out of `rest`.
std::string taken(Json& rest, const char* field) {
    const auto found = rest.find(field);
    if (found == rest.end() || !found->is_string())
        return {};
    std::string text = found->get<std::string>();
    rest.erase(field);
    return text;
}

std::string asCbor(const Json& json) {
    std::string bytes;
    Json::to_cbor(json, bytes);
    return bytes;
}

std::size_t rankOf(Severity severity) {
    const auto* const found =
        std::find(std::begin(kSeverityOrder), std::end(kSeverityOrder), severity);
    return static_cast<std::size_t>(found - std::begin(kSeverityOrder));
}

}  // namespace

bool isAlarm(const EventRecord& event) {
    return event.type == "NT_ALARM" && !isHeartbeat(event);
}

alarms::AlarmId identityIn(const EventRecord& event) {
    return {objectNameOf(event), layerRateOf(event), textOf(event, "probableCause"),
            textOf(event, "probableCauseQualifier")};
}

NmsAlarmPtr alarmOf(const EventRecord& event, std::string& whyNot) {
    auto alarm = std::make_shared<NmsAlarm>();
    alarm->notificationId = notificationNumber(event);
    if (alarm->notificationId == 0) {
        whyNot = "its notificationId \"" + util::escaped(textOf(event, kNotificationId), 100) +
                 "\" is no number above 0";
        return nullptr;
    }
    try {
        alarm->id = identityIn(event);
    } catch (const alarms::WrongAlarm& wrong) {
        whyNot = wrong.what();
        return nullptr;
    }
    alarm->severity = severityIn(event);
    alarm->isClearable = isClearableIn(event);
    Json rest = event.fields;
    taken(rest, kNotificationId);
    alarm->emsTime = taken(rest, kEmsTime);
    alarm->acknowledgement = taken(rest, kAcknowledgement);
    alarm->isAcknowledged = alarm->acknowledgement == alarms::acknowledgementNames().front();
    alarm->content = asCbor(rest);
    return alarm;
}

Json fieldsOf(const NmsAlarm& alarm) {
    Json fields{{kNotificationId, std::to_string(alarm.notificationId)}};
    const Json rest = Json::from_cbor(alarm.content);
    for (const auto& [name, value] : rest.items())
        fields[name] = value;
    if (!alarm.emsTime.empty())
        fields[kEmsTime] = alarm.emsTime;
    if (!alarm.acknowledgement.empty())
        fields[kAcknowledgement] = alarm.acknowledgement;
    return fields;
}

bool comesBefore(const NmsAlarm& one, const NmsAlarm& other) {
    const std::size_t rank = rankOf(one.severity);
    const std::size_t otherRank = rankOf(other.severity);
    // the newer time and the higher id come first; ids may be equal at an EMS that does not grow
    // them
    return std::tie(rank, other.emsTime, other.notificationId, one.id) <
           std::tie(otherRank, one.emsTime, one.notificationId, other.id);
}

const char* shortNameOf(Severity severity) {
    return kShortNames.at(static_cast<std::size_t>(severity));
}

std::optional<Severity> severityNamed(std::string_view shortName) {
    const auto* const found = std::find(kShortNames.begin(), kShortNames.end(), shortName);
    return found == kShortNames.end()
               ? std::nullopt
               : std::optional(static_cast<Severity>(found - kShortNames.begin()));
}

}  // namespace kelp::nms
