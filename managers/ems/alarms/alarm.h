#pragma once

#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace kelp::ems {

/// An alarm as its sender reports it: the fields of TMF 814 NT_ALARM under their names, except
/// those that the EMS sets (notificationId, emsTime). An alarm of severity PS_CLEARED reports that
/// the alarm with the same objectName, layerRate, probableCause and probableCauseQualifier is over.
/// Contains no Any, so it needs no ORB.
struct Alarm {
    using Value = std::variant<bool, std::int32_t, double, std::string>;

    globaldefs::NVSList_T objectName;
    std::string nativeEMSName;
    std::string nativeProbableCause;
    notifications::ObjectType_T objectType = notifications::OT_EMS;
    std::string objectTypeQualifier;
    std::string neTime;  ///< in the layout for the NMS; empty when the element gave none
    bool isClearable = true;
    std::int16_t layerRate = 1;  ///< LR_Not_Applicable
    std::string probableCause;
    std::string probableCauseQualifier;
    notifications::PerceivedSeverity_T perceivedSeverity = notifications::PS_INDETERMINATE;
    notifications::ServiceAffecting_T serviceAffecting = notifications::SA_UNKNOWN;
    globaldefs::NamingAttributesList_T affectedTPList;
    std::string additionalText;
    globaldefs::NVSList_T additionalInfo;
    std::string eventType = "communicationsAlarm";
    globaldefs::NamingAttributesList_T specificProblems;
    std::string backedUpStatus;  ///< empty when not reported
    globaldefs::NVSList_T backUpObject;
    std::string trendIndication;  ///< empty when not reported
    std::optional<notifications::CorrelatedNotificationList_T> correlatedNotifications;
    std::optional<std::vector<std::pair<std::string, Value>>> monitoredAttributes;
    globaldefs::NamingAttributesList_T proposedRepairActions;
    globaldefs::NamingAttributesList_T x733AdditionalInfo;
    bool rcaiIndicator = false;  ///< root cause alarm
    notifications::AcknowledgeIndication_T acknowledgeIndication = notifications::AI_NA;
};

}  // namespace kelp::ems
