#include "kelp/alarms/alarm_json.h"

#include <kelp/util/trace_log.h>

#include <map>

#include "json/alarm_fields.h"
#include "json/json_values.h"

namespace kelp::alarms {

namespace {

/// The object type that the last component of an object's name stands for (TMF 814 SD1-25).
const std::map<std::string, ObjectType> kTypeOfName = {
    {"EMS", ObjectType::Ems},
    {"ManagedElement", ObjectType::ManagedElement},
    {"MultiLayerSubnetwork", ObjectType::MultilayerSubnetwork},
    {"TopologicalLink", ObjectType::TopologicalLink},
    {"SubnetworkConnection", ObjectType::SubnetworkConnection},
    {"PTP", ObjectType::PhysicalTerminationPoint},
    {"CTP", ObjectType::ConnectionTerminationPoint},
    {"TPPool", ObjectType::TerminationPointPool},
    {"EquipmentHolder", ObjectType::EquipmentHolder},
    {"Equipment", ObjectType::Equipment},
    {"PGP", ObjectType::ProtectionGroup},
    {"TrafficDescriptor", ObjectType::TrafficDescriptor},
    {"AID", ObjectType::Aid},
};

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
    const auto known = kTypeOfName.find(component);
    if (known == kTypeOfName.end())
        throw WrongAlarm("objectType is missing, and a name that ends in \"" +
                         util::escaped(component, 100) + "\" does not tell it");
    alarm.objectType = known->second;
}

}  // namespace

WrongAlarm::~WrongAlarm() = default;

Alarm readAlarm(const Json& json, const TimeLayout& neTimeLayout) {
    Alarm alarm;
    readFields(alarm, json, neTimeLayout);
    requireKeys(json);
    complete(alarm, json);
    const std::string wrong = whatIsWrong(alarm);
    if (!wrong.empty())
        throw WrongAlarm(wrong);
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
