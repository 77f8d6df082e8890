#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/util/export.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelp::alarms {

/// Objects keep the order of their members, which matters in the names of objects.
using Json = nlohmann::ordered_json;

/// What is wrong with an alarm in JSON: one sentence that begins with the key.
class KELP_EXPORT WrongAlarm : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~WrongAlarm() override;
    WrongAlarm(const WrongAlarm&) = default;
    WrongAlarm& operator=(const WrongAlarm&) = default;
};

/// Converts the time of a report, which is not empty, to the layout for the NMS. Throws
/// std::invalid_argument for a text that is not a time.
using TimeLayout = std::function<std::string(const std::string& text)>;

/// Read an alarm. Its keys are the names of the fields in the standard. Enumerators are written by
/// their names ("PS_MAJOR"). An object's name is an object {"EMS": "...", ...} with its components
/// in order, or an array of {"name": "...", "value": "..."}.
///
/// objectName, probableCause and perceivedSeverity are required. Defaults: nativeEMSName is the
/// value of the name's last component, nativeProbableCause is the probable cause, and objectType
/// follows from the name's last component. Throws WrongAlarm for the first error.
KELP_EXPORT Alarm readAlarm(const Json& json, const TimeLayout& neTimeLayout);

/// Read a name in one of its two forms. Throws WrongAlarm with `key` as the field's name.
KELP_EXPORT Name readName(const Json& json, const std::string& key);

/// Write an alarm with all fields that an NT_ALARM of it would have. readAlarm() reads it back.
KELP_EXPORT Json toJson(const Alarm& alarm);

/// Write a name: as an object if its components have different names, and as an array if not.
KELP_EXPORT Json toJson(const Name& name);

/// The keys that readAlarm() knows, in the order of the alphabet.
KELP_EXPORT std::vector<std::string> alarmKeys();

}  // namespace kelp::alarms
