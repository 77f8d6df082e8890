#include "alarms/alarm_event.h"

#include <type_traits>

namespace kelp::ems {

namespace {

constexpr const char* kDomain = "tmf_mtnm";
constexpr const char* kType = "NT_ALARM";
/// Room for all fields, so that the sequence never grows, which would copy them.
constexpr CORBA::ULong kFieldsMax = 32;

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

notifications::NVList_T attributesOf(
    const std::vector<std::pair<std::string, Alarm::Value>>& values) {
    notifications::NVList_T list;
    list.length(static_cast<CORBA::ULong>(values.size()));
    for (CORBA::ULong i = 0; i < list.length(); ++i) {
        list[i].name = CORBA::string_dup(values[i].first.c_str());
        std::visit([&](const auto& value) { insert(list[i].value, value); }, values[i].second);
    }
    return list;
}

void addX733(Fields& fields, const Alarm& alarm) {
    fields.with("X.733::EventType", alarm.eventType)
        .with("X.733::SpecificProblems", alarm.specificProblems)
        .withIfTold("X.733::BackedUpStatus", alarm.backedUpStatus);
    if (alarm.backUpObject.length() > 0)
        fields.with("X.733::BackUpObject", alarm.backUpObject);
    fields.withIfTold("X.733::TrendIndication", alarm.trendIndication);
    if (alarm.correlatedNotifications)
        fields.with("X.733::CorrelatedNotifications", *alarm.correlatedNotifications);
    if (alarm.monitoredAttributes)
        fields.with("X.733::MonitoredAttributes", attributesOf(*alarm.monitoredAttributes));
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
        .with("neTime", alarm.neTime)
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

}  // namespace kelp::ems
