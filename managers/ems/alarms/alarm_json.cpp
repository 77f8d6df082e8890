#include "alarms/alarm_json.h"

#include <kelp/util/trace_log.h>

#include <map>
#include <string>
#include <utility>

#include "alarms/json_values.h"

namespace kelp::ems {

namespace {

using admin::Json;
using admin::RequestError;
using Names = std::vector<std::string>;

const Names kObjectTypes = {"OT_EMS",
                            "OT_MANAGED_ELEMENT",
                            "OT_MULTILAYER_SUBNETWORK",
                            "OT_TOPOLOGICAL_LINK",
                            "OT_SUBNETWORK_CONNECTION",
                            "OT_PHYSICAL_TERMINATION_POINT",
                            "OT_CONNECTION_TERMINATION_POINT",
                            "OT_TERMINATION_POINT_POOL",
                            "OT_EQUIPMENT_HOLDER",
                            "OT_EQUIPMENT",
                            "OT_PROTECTION_GROUP",
                            "OT_TRAFFIC_DESCRIPTOR",
                            "OT_AID"};
const Names kSeverities = {"PS_INDETERMINATE", "PS_CRITICAL", "PS_MAJOR",
                           "PS_MINOR",         "PS_WARNING",  "PS_CLEARED"};
const Names kServiceAffecting = {"SA_UNKNOWN", "SA_SERVICE_AFFECTING", "SA_NON_SERVICE_AFFECTING"};
const Names kAcknowledgements = {"AI_EVENT_ACKNOWLEDGED", "AI_EVENT_UNACKNOWLEDGED", "AI_NA"};
const Names kEventTypes = {"communicationsAlarm", "environmentalAlarm", "equipmentAlarm",
                           "processingErrorAlarm", "qualityofServiceAlarm"};
constexpr const char* kBackedUp = "BACKED_UP";
const Names kBackedUpStatuses = {kBackedUp, "NOT_BACKED_UP"};
const Names kTrends = {"MORE_SEVERE", "NO_CHANGE", "LESS_SEVERE"};

/// The object type that the last component of an object's name stands for (TMF 814 SD1-25).
const std::map<std::string, notifications::ObjectType_T> kTypeOfName = {
    {"EMS", notifications::OT_EMS},
    {"ManagedElement", notifications::OT_MANAGED_ELEMENT},
    {"MultiLayerSubnetwork", notifications::OT_MULTILAYER_SUBNETWORK},
    {"TopologicalLink", notifications::OT_TOPOLOGICAL_LINK},
    {"SubnetworkConnection", notifications::OT_SUBNETWORK_CONNECTION},
    {"PTP", notifications::OT_PHYSICAL_TERMINATION_POINT},
    {"CTP", notifications::OT_CONNECTION_TERMINATION_POINT},
    {"TPPool", notifications::OT_TERMINATION_POINT_POOL},
    {"EquipmentHolder", notifications::OT_EQUIPMENT_HOLDER},
    {"Equipment", notifications::OT_EQUIPMENT},
    {"PGP", notifications::OT_PROTECTION_GROUP},
    {"TrafficDescriptor", notifications::OT_TRAFFIC_DESCRIPTOR},
    {"AID", notifications::OT_AID},
};

using Setter = void (*)(Alarm&, const Json&);

const std::map<std::string, Setter> kSetters = {
    {"objectName", [](Alarm& a, const Json& v) { a.objectName = readPairs(v); }},
    {"nativeEMSName", [](Alarm& a, const Json& v) { a.nativeEMSName = readText(v); }},
    {"nativeProbableCause", [](Alarm& a, const Json& v) { a.nativeProbableCause = readText(v); }},
    {"objectType",
     [](Alarm& a, const Json& v) {
         a.objectType = readEnum<notifications::ObjectType_T>(v, kObjectTypes);
     }},
    {"objectTypeQualifier", [](Alarm& a, const Json& v) { a.objectTypeQualifier = readText(v); }},
    {"neTime", [](Alarm& a, const Json& v) { a.neTime = readTime(v); }},
    {"isClearable", [](Alarm& a, const Json& v) { a.isClearable = readFlag(v); }},
    {"layerRate", [](Alarm& a, const Json& v) { a.layerRate = readLayerRate(v); }},
    {"probableCause", [](Alarm& a, const Json& v) { a.probableCause = readText(v); }},
    {"probableCauseQualifier",
     [](Alarm& a, const Json& v) { a.probableCauseQualifier = readText(v); }},
    {"perceivedSeverity",
     [](Alarm& a, const Json& v) {
         a.perceivedSeverity = readEnum<notifications::PerceivedSeverity_T>(v, kSeverities);
     }},
    {"serviceAffecting",
     [](Alarm& a, const Json& v) {
         a.serviceAffecting = readEnum<notifications::ServiceAffecting_T>(v, kServiceAffecting);
     }},
    {"affectedTPList", [](Alarm& a, const Json& v) { a.affectedTPList = readNames(v); }},
    {"additionalText", [](Alarm& a, const Json& v) { a.additionalText = readText(v); }},
    {"additionalInfo", [](Alarm& a, const Json& v) { a.additionalInfo = readPairs(v); }},
    {"X.733::EventType", [](Alarm& a, const Json& v) { a.eventType = readChoice(v, kEventTypes); }},
    {"X.733::SpecificProblems", [](Alarm& a, const Json& v) { a.specificProblems = readNames(v); }},
    {"X.733::BackedUpStatus",
     [](Alarm& a, const Json& v) { a.backedUpStatus = readChoice(v, kBackedUpStatuses); }},
    {"X.733::BackUpObject", [](Alarm& a, const Json& v) { a.backUpObject = readPairs(v); }},
    {"X.733::TrendIndication",
     [](Alarm& a, const Json& v) { a.trendIndication = readChoice(v, kTrends); }},
    {"X.733::CorrelatedNotifications",
     [](Alarm& a, const Json& v) { a.correlatedNotifications = readCorrelated(v); }},
    {"X.733::MonitoredAttributes",
     [](Alarm& a, const Json& v) { a.monitoredAttributes = readAttributes(v); }},
    {"X.733::ProposedRepairActions",
     [](Alarm& a, const Json& v) { a.proposedRepairActions = readNames(v); }},
    {"X.733::AdditionalInfo", [](Alarm& a, const Json& v) { a.x733AdditionalInfo = readNames(v); }},
    {"rcaiIndicator", [](Alarm& a, const Json& v) { a.rcaiIndicator = readFlag(v); }},
    {"acknowledgeIndication",
     [](Alarm& a, const Json& v) {
         a.acknowledgeIndication =
             readEnum<notifications::AcknowledgeIndication_T>(v, kAcknowledgements);
     }},
};

void requireKeys(const Json& json) {
    for (const char* const key : {"objectName", "probableCause", "perceivedSeverity"}) {
        if (!json.contains(key))
            throw RequestError(std::string(key) + " is missing");
    }
}

/// Set the fields that are missing in the request and follow from others.
void complete(Alarm& alarm, const Json& json) {
    const CORBA::ULong components = alarm.objectName.length();
    if (components == 0)
        throw RequestError("objectName must have a component");
    const auto& last = alarm.objectName[components - 1];
    if (!json.contains("nativeEMSName"))
        alarm.nativeEMSName = last.value.in();
    if (!json.contains("nativeProbableCause"))
        alarm.nativeProbableCause = alarm.probableCause;
    if (json.contains("objectType"))
        return;
    const auto known = kTypeOfName.find(last.name.in());
    if (known == kTypeOfName.end())
        throw RequestError("objectType is missing, and a name that ends in \"" +
                           util::escaped(last.name.in(), 100) + "\" does not tell it");
    alarm.objectType = known->second;
}

void checkTogether(const Alarm& alarm) {
    if (alarm.perceivedSeverity == notifications::PS_CLEARED && !alarm.isClearable)
        throw RequestError("isClearable must be true when perceivedSeverity is PS_CLEARED");
    if ((alarm.backedUpStatus == kBackedUp) != (alarm.backUpObject.length() > 0))
        throw RequestError(
            "X.733::BackUpObject belongs to the X.733::BackedUpStatus BACKED_UP, and to no other");
}

Alarm readAlarm(const Json& json) {
    if (!json.is_object())
        throw RequestError("an alarm must be an object");
    Alarm alarm;
    for (const auto& [key, value] : json.items()) {
        const auto setter = kSetters.find(key);
        if (setter == kSetters.end())
            throw RequestError("\"" + util::escaped(key, 100) +
                               "\" is no field that an alarm can be given");
        try {
            setter->second(alarm, value);
        } catch (const WrongValue& wrong) {
            throw RequestError(key + " " + wrong.what);
        }
    }
    requireKeys(json);
    complete(alarm, json);
    checkTogether(alarm);
    return alarm;
}

}  // namespace

std::vector<Alarm> readAlarms(const Json& request) {
    if (!request.is_array())
        return {readAlarm(request)};
    std::vector<Alarm> alarms;
    for (const Json& each : request) {
        try {
            alarms.push_back(readAlarm(each));
        } catch (const RequestError& wrong) {
            throw RequestError("alarm " + std::to_string(alarms.size() + 1) + " of " +
                               std::to_string(request.size()) + ": " + wrong.what());
        }
    }
    return alarms;
}

}  // namespace kelp::ems
