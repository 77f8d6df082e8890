#include "alarms/alarm_json.h"

#include <kelp/agent/time_change.h>
#include <kelp/alarms/alarm_json.h>
#include <kelp/alarms/alarm_schema.h>

#include <ctime>
#include <stdexcept>
#include <string>

namespace kelp::ems {

namespace {

using admin::Json;
using admin::RequestError;

std::string configuredLayout(const std::string& time) {
    bool isWrong = false;
    std::tm local = NS_KELPCORBA::TimeChange::str2Time(time, isWrong);
    if (isWrong)
        throw std::invalid_argument("no time");
    return NS_KELPCORBA::TimeChange::time2strByConf(static_cast<long>(std::mktime(&local)));
}

/// `path` is the alarm's own in the request.
[[noreturn]] void refuseAlarm(const std::string& what, const std::string& path) {
    throw RequestError(what, RequestError::kBadRequest, path);
}

/// The path of the field that a sentence of readAlarm() begins with; empty for another sentence.
std::string fieldIn(const std::string& sentence, const Json& alarm) {
    const std::string key = sentence.substr(0, sentence.find(' '));
    return alarm.is_object() && alarm.contains(key) ? "/" + key : "";
}

/// The schema finds where in the alarm the error is; the sentence is readAlarm()'s.
alarms::Alarm readReported(const Json& json, const std::string& path) {
    const auto violation = alarms::schemaViolation(json);
    try {
        alarms::Alarm alarm = alarms::readAlarm(json, configuredLayout);
        if (violation)
            refuseAlarm(violation->what, path + violation->path);
        return alarm;
    } catch (const alarms::WrongAlarm& wrong) {
        refuseAlarm(wrong.what(),
                    path + (violation ? violation->path : fieldIn(wrong.what(), json)));
    }
}

}  // namespace

std::vector<alarms::Alarm> readAlarms(const Json& request, const std::string& path) {
    if (!request.is_array())
        return {readReported(request, path)};
    std::vector<alarms::Alarm> all;
    for (const Json& each : request) {
        const std::string place = path + "/" + std::to_string(all.size());
        try {
            all.push_back(readReported(each, place));
        } catch (const RequestError& wrong) {
            refuseAlarm("alarm " + std::to_string(all.size() + 1) + " of " +
                            std::to_string(request.size()) + ": " + wrong.what(),
                        wrong.path());
        }
    }
    return all;
}

}  // namespace kelp::ems
