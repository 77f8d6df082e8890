#pragma once

#include <gtest/gtest.h>
#include <kelp/admin/registry.h>

#include <string>

namespace kelp::test {

/// Return an alarm with only the mandatory fields.
inline admin::Json smallestAlarm() {
    return admin::Json::parse(R"({
        "objectName": {"EMS": "Kelp/EMS", "ManagedElement": "NE-1", "PTP": "/shelf=1/port=2"},
        "probableCause": "LOS",
        "perceivedSeverity": "PS_MAJOR"})");
}

/// Return an alarm with every field.
inline admin::Json wholeAlarm() {
    return admin::Json::parse(R"({
        "objectName": [{"name": "EMS", "value": "Kelp/EMS"}, {"name": "ManagedElement", "value": "NE-1"}],
        "nativeEMSName": "Berlin 1",
        "nativeProbableCause": "LOS-P",
        "objectType": "OT_AID",
        "objectTypeQualifier": "OT_QUALIFIED",
        "neTime": "20240105030405.0Z",
        "isClearable": false,
        "layerRate": 20,
        "probableCause": "LOS",
        "probableCauseQualifier": "near end",
        "perceivedSeverity": "PS_CRITICAL",
        "serviceAffecting": "SA_SERVICE_AFFECTING",
        "affectedTPList": [{"EMS": "Kelp/EMS", "ManagedElement": "NE-1", "PTP": "/port=1"},
                           {"EMS": "Kelp/EMS", "ManagedElement": "NE-1", "PTP": "/port=2"}],
        "additionalText": "the fibre is out",
        "additionalInfo": {"operator": "Müller", "ticket": "17"},
        "X.733::EventType": "equipmentAlarm",
        "X.733::SpecificProblems": [{"problem": "laser"}],
        "X.733::BackedUpStatus": "BACKED_UP",
        "X.733::BackUpObject": {"EMS": "Kelp/EMS", "ManagedElement": "NE-2"},
        "X.733::TrendIndication": "MORE_SEVERE",
        "X.733::CorrelatedNotifications": [{"source": {"EMS": "Kelp/EMS"}, "notifIDs": ["7", "8"]}],
        "X.733::MonitoredAttributes": {"temperature": 71, "load": 0.5, "fan": "slow", "alive": true},
        "X.733::ProposedRepairActions": [{"action": "clean"}, {"action": "replace"}],
        "X.733::AdditionalInfo": [{"note": "x"}],
        "rcaiIndicator": true,
        "acknowledgeIndication": "AI_EVENT_UNACKNOWLEDGED"})");
}

/// Return the reason for which a call refuses a request.
template <class Call>
std::string refusal(Call call, int status = admin::RequestError::kBadRequest) {
    try {
        call();
    } catch (const admin::RequestError& refused) {
        EXPECT_EQ(refused.status(), status);
        return refused.what();
    }
    return "nothing";
}

}  // namespace kelp::test
