#include "common/alarm_event.h"

#include <kelp/agent/time_change.h>
#include <kelp/bundlemgr/config_store.h>
#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include <type_traits>

#include "common/idl_text.h"

namespace kelp::managers {

namespace {

constexpr const char* kDomain = "tmf_mtnm";
constexpr const char* kType = "NT_ALARM";
/// Room for all fields, so that the sequence never grows, which would copy them.
constexpr CORBA::ULong kFieldsMax = 32;

using alarms::Alarm;

template <class List>
CORBA::ULong lengthOf(const List& list) {
    return static_cast<CORBA::ULong>(list.size());
}

void pairsToIdl(const alarms::Name& pairs, globaldefs::NVSList_T& list) {
    list.length(lengthOf(pairs));
    for (CORBA::ULong i = 0; i < list.length(); ++i) {
        textToIdl(pairs[i].first, list[i].name);
        textToIdl(pairs[i].second, list[i].value);
    }
}

template <class Value>
void insert(CORBA::Any& any, const Value& value) {
    if constexpr (std::is_same_v<Value, bool>)
        any <<= CORBA::Any::from_boolean(value);
    else if constexpr (std::is_same_v<Value, std::string>)
        any <<= value.c_str();
    else if constexpr (std::is_same_v<Value, std::int32_t>)
        any <<= CORBA::Long(value);
    else if constexpr (std::is_same_v<Value, std::int16_t>)
        any <<= CORBA::Short(value);
    else
        any <<= value;
}

void insert(CORBA::Any& any, const alarms::Name& pairs) {
    globaldefs::NVSList_T list;
    pairsToIdl(pairs, list);
    any <<= list;
}

void insert(CORBA::Any& any, const alarms::Names& names) {
    globaldefs::NamingAttributesList_T list;
    list.length(lengthOf(names));
    for (CORBA::ULong i = 0; i < list.length(); ++i)
        pairsToIdl(names[i], list[i]);
    any <<= list;
}

void insert(CORBA::Any& any, const std::vector<alarms::CorrelatedNotifications>& all) {
    notifications::CorrelatedNotificationList_T list;
    list.length(lengthOf(all));
    for (CORBA::ULong i = 0; i < list.length(); ++i) {
        pairsToIdl(all[i].source, list[i].source);
        const auto& ids = all[i].notificationIds;
        list[i].notifIDs.length(lengthOf(ids));
        for (CORBA::ULong j = 0; j < list[i].notifIDs.length(); ++j)
            list[i].notifIDs[j] = CORBA::string_dup(ids[j].c_str());
    }
    any <<= list;
}

void insert(CORBA::Any& any, const std::vector<std::pair<std::string, Alarm::Value>>& values) {
    notifications::NVList_T list;
    list.length(lengthOf(values));
    for (CORBA::ULong i = 0; i < list.length(); ++i) {
        list[i].name = CORBA::string_dup(values[i].first.c_str());
        std::visit([&](const auto& value) { insert(list[i].value, value); }, values[i].second);
    }
    any <<= list;
}

// the model's enumerators have the numbers of the standard's
void insert(CORBA::Any& any, alarms::ObjectType type) {
    any <<= static_cast<notifications::ObjectType_T>(type);
}
void insert(CORBA::Any& any, alarms::Severity severity) {
    any <<= static_cast<notifications::PerceivedSeverity_T>(severity);
}
void insert(CORBA::Any& any, alarms::ServiceAffecting affecting) {
    any <<= static_cast<notifications::ServiceAffecting_T>(affecting);
}
void insert(CORBA::Any& any, alarms::Acknowledgement acknowledgement) {
    any <<= static_cast<notifications::AcknowledgeIndication_T>(acknowledgement);
}

/// Fills the filterable data of an event, one field after the other.
class Fields {
  public:
    explicit Fields(CosNotification::PropertySeq& data) : data_(data) { data_.length(kFieldsMax); }
    ~Fields() { data_.length(used_); }
    Fields(const Fields&) = delete;
    Fields& operator=(const Fields&) = delete;

    template <class Value>
    Fields& with(const char* name, const Value& value) {
        data_[used_].name = CORBA::string_dup(name);
        insert(data_[used_].value, value);
        ++used_;
        return *this;
    }
    Fields& withIfTold(const char* name, const std::string& value) {
        return value.empty() ? *this : with(name, value);
    }

  private:
    CosNotification::PropertySeq& data_;
    CORBA::ULong used_ = 0;
};

/// The time of the element. If it gave none, NMS get that of the EMS, as the hand-over to the
/// channel would fill it in: an entry of a list has the fields of the live event.
const std::string& neTimeOf(const Alarm& alarm, const std::string& emsTime) {
    const bool isFilled = alarm.neTime.empty() &&
                          NS_BUNDLEMGR1::ConfigStore::instance().flag("notification.fill_ne_time");
    return isFilled ? emsTime : alarm.neTime;
}

void addX733(Fields& fields, const Alarm& alarm) {
    fields.with("X.733::EventType", alarm.eventType)
        .with("X.733::SpecificProblems", alarm.specificProblems)
        .withIfTold("X.733::BackedUpStatus", alarm.backedUpStatus);
    if (!alarm.backUpObject.empty())
        fields.with("X.733::BackUpObject", alarm.backUpObject);
    fields.withIfTold("X.733::TrendIndication", alarm.trendIndication);
    if (alarm.correlatedNotifications)
        fields.with("X.733::CorrelatedNotifications", *alarm.correlatedNotifications);
    if (alarm.monitoredAttributes)
        fields.with("X.733::MonitoredAttributes", *alarm.monitoredAttributes);
    fields.with("X.733::ProposedRepairActions", alarm.proposedRepairActions)
        .with("X.733::AdditionalInfo", alarm.x733AdditionalInfo);
}

}  // namespace

void fillAlarmEvent(CosNotification::StructuredEvent& event, const Alarm& alarm,
                    const std::string& notificationId, const std::string& emsTime) {
    auto& header = event.header.fixed_header;
    header.event_type.domain_name = CORBA::string_dup(kDomain);
    header.event_type.type_name = CORBA::string_dup(kType);
    header.event_name = CORBA::string_dup("");
    Fields fields(event.filterable_data);
    fields.with("notificationId", notificationId)
        .with("objectName", alarm.objectName)
        .with("nativeEMSName", alarm.nativeEMSName)
        .with("nativeProbableCause", alarm.nativeProbableCause)
        .with("objectType", alarm.objectType)
        .with("objectTypeQualifier", alarm.objectTypeQualifier)
        .with("emsTime", emsTime)
        .with("neTime", neTimeOf(alarm, emsTime))
        .with("isClearable", alarm.isClearable)
        .with("layerRate", alarm.layerRate)
        .with("probableCause", alarm.probableCause)
        .with("probableCauseQualifier", alarm.probableCauseQualifier)
        .with("perceivedSeverity", alarm.perceivedSeverity)
        .with("serviceAffecting", alarm.serviceAffecting)
        .with("affectedTPList", alarm.affectedTPList)
        .with("additionalText", alarm.additionalText)
        .with("additionalInfo", alarm.additionalInfo);
    addX733(fields, alarm);
    fields.with("rcaiIndicator", alarm.rcaiIndicator)
        .with("acknowledgeIndication", alarm.acknowledgeIndication);
}

void fillAlarmEvent(CosNotification::StructuredEvent& event, const alarms::Alarm& alarm,
                    alarms::Position notificationId, std::int64_t emsTime) {
    constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
    fillAlarmEvent(event, alarm, std::to_string(notificationId),
                   NS_KELPCORBA::TimeChange::time2strByConf(
                       static_cast<long>(emsTime / kMicrosecondsPerSecond)));
}

}  // namespace kelp::managers
