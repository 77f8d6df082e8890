#include "kelp/alarms/alarm_json.h"

#include <kelp/util/trace_log.h>

#include <optional>

#include "json/alarm_fields.h"
#include "json/json_values.h"

namespace kelp::alarms {

namespace {

void requireKeys(const Json& json) {
    for (const char* const key : {"objectName", "probableCause", "perceivedSeverity"}) {
        if (!json.contains(key))
            throw WrongAlarm(std::string(key) + " is missing");
    }
}

/// Set the fields that are missing in the report and follow from others.
void complete(Alarm& alarm, const Json& json) {
    if (alarm.objectName.empty())
        throw WrongAlarm("objectName must have a component");
    const auto& [component, value] = alarm.objectName.back();
    if (!json.contains("nativeEMSName"))
        alarm.nativeEMSName = value;
    if (!json.contains("nativeProbableCause"))
        alarm.nativeProbableCause = alarm.probableCause;
    if (json.contains("objectType"))
        return;
    const std::optional<ObjectType> known = objectTypeOf(alarm.objectName);
    if (!known)
        throw WrongAlarm("objectType is missing, and a name that ends in \"" +
                         util::escaped(component, 100) + "\" does not tell it");
    alarm.objectType = *known;
}

}  // namespace

WrongAlarm::~WrongAlarm() = default;

Alarm readAlarm(const Json& json, const TimeLayout& neTimeLayout) {
    Alarm alarm;
    readFields(alarm, json, neTimeLayout);
    requireKeys(json);
    complete(alarm, json);
    for (const std::string& wrong : {whatIsWrong(alarm), whatIsTooLong(alarm)}) {
        if (!wrong.empty())
            throw WrongAlarm(wrong);
    }
    return alarm;
}

Name readName(const Json& json, const std::string& key) {
    try {
        return readPairs(json);
    } catch (const WrongValue& wrong) {
        throw WrongAlarm(key + " " + wrong.what);
    }
}

Json toJson(const Alarm& alarm) {
    return writeFields(alarm, FieldsWritten::All);
}

}  // namespace kelp::alarms
