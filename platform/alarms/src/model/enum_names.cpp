#include "kelp/alarms/enum_names.h"

namespace kelp::alarms {

const std::vector<std::string>& objectTypeNames() {
    static const std::vector<std::string> names = {"OT_EMS",
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
    return names;
}

const std::vector<std::string>& severityNames() {
    static const std::vector<std::string> names = {"PS_INDETERMINATE", "PS_CRITICAL", "PS_MAJOR",
                                                   "PS_MINOR",         "PS_WARNING",  "PS_CLEARED"};
    return names;
}

const std::vector<std::string>& serviceAffectingNames() {
    static const std::vector<std::string> names = {"SA_UNKNOWN", "SA_SERVICE_AFFECTING",
                                                   "SA_NON_SERVICE_AFFECTING"};
    return names;
}

const std::vector<std::string>& acknowledgementNames() {
    static const std::vector<std::string> names = {"AI_EVENT_ACKNOWLEDGED",
                                                   "AI_EVENT_UNACKNOWLEDGED", "AI_NA"};
    return names;
}

const std::vector<std::string>& eventTypeNames() {
    static const std::vector<std::string> names = {"communicationsAlarm", "environmentalAlarm",
                                                   "equipmentAlarm", "processingErrorAlarm",
                                                   "qualityofServiceAlarm"};
    return names;
}

const std::vector<std::string>& backedUpStatusNames() {
    static const std::vector<std::string> names = {"BACKED_UP", "NOT_BACKED_UP"};
    return names;
}

const std::vector<std::string>& trendNames() {
    static const std::vector<std::string> names = {"MORE_SEVERE", "NO_CHANGE", "LESS_SEVERE"};
    return names;
}

}  // namespace kelp::alarms
