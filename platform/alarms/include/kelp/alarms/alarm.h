#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace kelp::alarms {

/// Pairs of a name and a value, in order: the name of an object, or additional information
/// (globaldefs::NVSList_T).
using Name = std::vector<std::pair<std::string, std::string>>;
using Names = std::vector<Name>;

/// The position of a record in the change log, and the notification id of its event as a number. 0
/// is before the first record. The same type as changelog::Position.
using Position = std::uint64_t;

// The enumerators have the order and the numbers of the standard's: a cast converts them.

/// notifications::PerceivedSeverity_T
enum class Severity { Indeterminate, Critical, Major, Minor, Warning, Cleared };
inline constexpr std::size_t kSeverities = 6;

/// notifications::ServiceAffecting_T
enum class ServiceAffecting { Unknown, Affecting, NotAffecting };

/// notifications::AcknowledgeIndication_T
enum class Acknowledgement { Acknowledged, Unacknowledged, NotAvailable };

/// notifications::ObjectType_T
enum class ObjectType {
    Ems,
    ManagedElement,
    MultilayerSubnetwork,
    TopologicalLink,
    SubnetworkConnection,
    PhysicalTerminationPoint,
    ConnectionTerminationPoint,
    TerminationPointPool,
    EquipmentHolder,
    Equipment,
    ProtectionGroup,
    TrafficDescriptor,
    Aid
};

/// notifications::CorrelatedNotifications_T
struct CorrelatedNotifications {
    Name source;
    std::vector<std::string> notificationIds;

    bool operator==(const CorrelatedNotifications&) const = default;
};

/// An alarm as its sender reports it: the fields of TMF 814 NT_ALARM under their names, except
/// those that the EMS sets (notificationId, emsTime). An alarm of severity Cleared reports that the
/// alarm with the same identity (AlarmId) is over.
struct Alarm {
    using Value = std::variant<bool, std::int32_t, double, std::string>;

    Name objectName;
    std::string nativeEMSName;
    std::string nativeProbableCause;
    ObjectType objectType = ObjectType::Ems;
    std::string objectTypeQualifier;
    std::string neTime;  ///< in the layout for the NMS; empty when the element gave none
    bool isClearable = true;
    std::int16_t layerRate = 1;  ///< LR_Not_Applicable
    std::string probableCause;
    std::string probableCauseQualifier;
    Severity perceivedSeverity = Severity::Indeterminate;
    ServiceAffecting serviceAffecting = ServiceAffecting::Unknown;
    Names affectedTPList;
    std::string additionalText;
    Name additionalInfo;
    std::string eventType = "communicationsAlarm";
    Names specificProblems;
    std::string backedUpStatus;  ///< empty when not reported
    Name backUpObject;
    std::string trendIndication;  ///< empty when not reported
    std::optional<std::vector<CorrelatedNotifications>> correlatedNotifications;
    std::optional<std::vector<std::pair<std::string, Value>>> monitoredAttributes;
    Names proposedRepairActions;
    Names x733AdditionalInfo;
    bool rcaiIndicator = false;  ///< root cause alarm
    Acknowledgement acknowledgeIndication = Acknowledgement::NotAvailable;

    bool operator==(const Alarm&) const = default;
};

/// The object type that the last component of an object's name stands for (TMF 814 SD1-25). Empty
/// for an empty name, and for a component that stands for none.
KELP_EXPORT std::optional<ObjectType> objectTypeOf(const Name& objectName);

/// What the standard's rules for an alarm forbid, as one sentence that names the field; empty when
/// there is nothing. Everything that enters the change log must pass: a name with a component, no
/// text with a character of number 0, which CORBA cannot carry, no number that is not finite, a
/// severity other than Cleared when the alarm is not clearable, and a back-up object exactly when
/// the status is BACKED_UP.
KELP_EXPORT std::string whatIsWrong(const Alarm& alarm);

// About how many octets of memory a value uses: each text, and each member of a list.
KELP_EXPORT std::size_t memoryOf(const Name& name);
KELP_EXPORT std::size_t memoryOf(const Alarm& alarm);

/// Maximum size of an alarm by memoryOf(). A record of the change log, which takes 1 MiB, has room
/// for it: a text needs fewer octets there.
inline constexpr std::size_t kAlarmBytesMax = 1'000'000;

/// One sentence that begins with the longest field when the alarm is larger than kAlarmBytesMax;
/// otherwise empty.
KELP_EXPORT std::string whatIsTooLong(const Alarm& alarm);

}  // namespace kelp::alarms
