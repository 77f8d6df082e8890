#include "records/record_values.h"

#include <utility>

#include "json/alarm_fields.h"
#include "kelp/alarms/change.h"

namespace kelp::alarms {

Members::Members(const Json& json, std::size_t count) : json_(json) {
    if (!json.is_object() || json.size() != count)
        throw DamagedRecord("a record of the change log is damaged: it has other members");
}

void Members::refuse(const char* key) {
    throw DamagedRecord(std::string("a record of the change log is damaged: its member ") + key +
                        " is missing or has another type");
}

const Json& Members::at(const char* key) const {
    const auto member = json_.find(key);
    if (member == json_.end())
        refuse(key);
    return *member;
}

bool Members::flag(const char* key) const {
    const Json& value = at(key);
    if (!value.is_boolean())
        refuse(key);
    return value.get<bool>();
}

std::int64_t Members::integer(const char* key) const {
    const Json& value = at(key);
    if (!value.is_number_integer() ||
        (value.is_number_unsigned() && !std::in_range<std::int64_t>(value.get<std::uint64_t>())))
        refuse(key);
    return value.get<std::int64_t>();
}

std::uint64_t Members::natural(const char* key) const {
    const Json& value = at(key);
    if (!value.is_number_unsigned())
        refuse(key);
    return value.get<std::uint64_t>();
}

std::string Members::text(const char* key) const {
    const Json& value = at(key);
    if (!value.is_string())
        refuse(key);
    return value.get<std::string>();
}

Name Members::name(const char* key) const {
    try {
        return readName(at(key), key);
    } catch (const WrongAlarm&) {
        refuse(key);
    }
}

std::vector<std::int64_t> Members::integers(const char* key) const {
    const Json& value = at(key);
    if (!value.is_array())
        refuse(key);
    std::vector<std::int64_t> all;
    for (const Json& each : value) {
        if (!each.is_number_integer())
            refuse(key);
        all.push_back(each.get<std::int64_t>());
    }
    return all;
}

Alarm Members::alarm(const char* key) const {
    Alarm alarm;
    try {
        readFields(alarm, at(key));
    } catch (const WrongAlarm&) {
        refuse(key);
    }
    if (!whatIsWrong(alarm).empty())
        refuse(key);
    return alarm;
}

AlarmId Members::id(const char* key) const {
    const Members fields(at(key), 4);
    const std::int64_t layerRate = fields.integer("layerRate");
    if (!std::in_range<std::int16_t>(layerRate))
        refuse(key);
    return {fields.name("objectName"), static_cast<std::int16_t>(layerRate),
            fields.text("probableCause"), fields.text("probableCauseQualifier")};
}

Json recordOf(const Alarm& alarm) {
    return writeFields(alarm, FieldsWritten::NotDefault);
}

Json recordOf(const AlarmId& id) {
    return {{"objectName", toJson(id.objectName)},
            {"layerRate", id.layerRate},
            {"probableCause", id.probableCause},
            {"probableCauseQualifier", id.probableCauseQualifier}};
}

}  // namespace kelp::alarms
