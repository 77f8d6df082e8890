#include "notify/heartbeat.h"

#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/push_event.h>
#include <kelp/agent/time_change.h>
#include <kelp/corbabase/base_config.h>
#include <mtnm/globaldefs.h>
#include <mtnm/notifications.h>

#include "notify/suppiler_mgr_callback.h"

namespace NS_KELPCORBA {
namespace {

constexpr std::int32_t kHeartbeatType = 0;
constexpr CORBA::Short kLayerRate = 1;

/// Appends properties to the filterable data of an event, one by one.
class Properties {
  public:
    Properties(CosNotification::PropertySeq& properties, CORBA::ULong count)
        : properties_(properties) {
        properties_.length(count);
    }
    template <class Value>
    void add(const char* name, const Value& value) {
        next(name) <<= value;
    }
    void addText(const char* name, const std::string& value) { next(name) <<= value.c_str(); }
    void addFlag(const char* name, bool value) { next(name) <<= CORBA::Any::from_boolean(value); }

  private:
    CORBA::Any& next(const char* name) {
        CosNotification::Property& property = properties_[used_++];
        property.name = CORBA::string_dup(name);
        return property.value;
    }
    CosNotification::PropertySeq& properties_;
    CORBA::ULong used_ = 0;
};

std::string now() {
    return TimeChange::time2strByConf(0L);
}

globaldefs::NVSList_T objectName(const std::string& emsName) {
    globaldefs::NVSList_T name;
    name.length(1);
    name[0].name = CORBA::string_dup("EMS");
    name[0].value = CORBA::string_dup(emsName.c_str());
    return name;
}

void fillHeartbeat(CosNotification::PropertySeq& data, const std::string& emsName) {
    Properties properties(data, 4);
    properties.addText("notificationId", " ");  // deliberately no number
    properties.add("objectName", objectName(emsName));
    properties.add("objectType", notifications::OT_EMS);
    properties.addText("emsTime", now());
}

void fillAlarm(CosNotification::PropertySeq& data, const std::string& emsName) {
    const globaldefs::NamingAttributesList_T none;
    Properties properties(data, 19);
    properties.addText("notificationId", "0");
    properties.add("objectName", objectName(emsName));
    properties.addText("nativeEMSName", emsName);
    properties.addText("nativeProbableCause", "Heartbeat");
    properties.add("objectType", notifications::OT_EMS);
    properties.addText("emsTime", now());
    properties.addText("neTime", now());
    properties.addFlag("isClearable", false);
    properties.add("layerRate", kLayerRate);
    properties.addText("probableCause", "Heartbeat");
    properties.addText("probableCauseQualifier", "0:0:0");
    properties.add("perceivedSeverity", notifications::PS_INDETERMINATE);
    properties.add("serviceAffecting", notifications::SA_NON_SERVICE_AFFECTING);
    properties.add("affectedTPList", none);
    properties.addText("additionalText", "");
    properties.addText("X.733::EventType", "environmentalAlarm");
    properties.add("X.733::SpecificProblems", none);
    properties.add("X.733::ProposedRepairActions", none);
    properties.add("X.733::AdditionalInfo", none);
}

}  // namespace

CosNotification::StructuredEvent makeHeartbeat(std::int32_t type, const std::string& emsName) {
    const bool isHeartbeat = type == kHeartbeatType;
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name =
        CORBA::string_dup(isHeartbeat ? "NT_HEARTBEAT" : "NT_ALARM");
    event.header.fixed_header.event_name = CORBA::string_dup("");
    if (isHeartbeat)
        fillHeartbeat(event.filterable_data, emsName);
    else
        fillAlarm(event.filterable_data, emsName);
    return event;
}

CosNotification::StructuredEvent makeHeartbeat() {
    return makeHeartbeat(CorbaAgentConfig::Instance()->GetHeartbeatEventType(),
                         NS_CORBA::CorbaBaseAgentConfig::Instance()->EmsName());
}

void SuppilerMgrCallBack::SendHeartbeat() {
    CosNotification::StructuredEvent event = makeHeartbeat();
    PushEvent(event);
}

}  // namespace NS_KELPCORBA
