#include "report.h"

#include <kelp/alarms/alarm_json.h>
#include <kelp/alarms/alarm_schema.h>
#include <kelp/util/repeated_keys.h>

#include <regex>
#include <stdexcept>

namespace kelp::example {

namespace {

using alarms::Json;

/// An alarm has lists of names, each an array of components: four levels.
constexpr int kDepthMax = 16;

Json parse(const std::string& line) {
    util::RepeatedKeys keys;
    bool isTooDeep = false;
    bool isRepeated = false;
    const auto check = [&](int depth, Json::parse_event_t event, const Json& parsed) {
        isTooDeep = isTooDeep || depth > kDepthMax;
        isRepeated = isRepeated || !keys.see(event, parsed);
        return !isTooDeep;
    };
    Json json = Json::parse(line, check, false);
    if (isTooDeep)
        throw std::runtime_error("the line has too many levels");
    if (json.is_discarded() || !json.is_object())
        throw std::runtime_error("the line is not a JSON object");
    if (isRepeated)
        throw std::runtime_error("the line has a key twice");
    return json;
}

/// The host's configuration may ask for another layout of times on the interface (`[time]`); an
/// adapter whose elements write other times converts them here.
std::string checkedTime(const std::string& time) {
    static const std::regex layout("[0-9]{14}\\.[0-9](Z|[+-][0-9]{4})?");
    if (!std::regex_match(time, layout))
        throw std::invalid_argument("no time");
    return time;
}

}  // namespace

alarms::Alarm readReport(const std::string& line, const std::string& ems) {
    const Json json = parse(line);
    alarms::Alarm alarm = alarms::readAlarm(json, checkedTime);
    if (const auto violation = alarms::schemaViolation(json))
        throw std::runtime_error(violation->path + " " + violation->what);
    if (alarm.objectName.front().first != "EMS")
        alarm.objectName.insert(alarm.objectName.begin(), {"EMS", ems});
    return alarm;
}

}  // namespace kelp::example
