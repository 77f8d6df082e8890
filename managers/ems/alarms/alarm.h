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

/// An alarm as whoever found it tells of it: the fields of TMF 814 NT_ALARM by their names, without
/// those that the EMS gives itself (notificationId, emsTime). One of severity PS_CLEARED says that
/// the alarm of the same objectName, layerRate, probableCause and probableCauseQualifier is over.
/// Holds no Any, so it needs no ORB.
struct Alarm {
    using Value = std::variant<bool, std::int32_t, double, std::string>;

    globaldefs::NVSList_T objectName;
    std::string nativeEMSName;
    std::string nativeProbableCause;
    notifications::ObjectType_T objectType = notifications::OT_EMS;
    std::string objectTypeQualifier;
    std::string neTime;  ///< as an NMS reads it; empty when the element gave none
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
    std::string backedUpStatus;  ///< empty: not told
    globaldefs::NVSList_T backUpObject;
    std::string trendIndication;  ///< empty: not told
    std::optional<notifications::CorrelatedNotificationList_T> correlatedNotifications;
    std::optional<std::vector<std::pair<std::string, Value>>> monitoredAttributes;
    globaldefs::NamingAttributesList_T proposedRepairActions;
    globaldefs::NamingAttributesList_T x733AdditionalInfo;
    bool rcaiIndicator = false;  ///< root cause alarm
    notifications::AcknowledgeIndication_T acknowledgeIndication = notifications::AI_NA;
};

}  // namespace kelp::ems
