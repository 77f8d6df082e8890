#include "alarm_texts.h"

#include <nlohmann/json.hpp>

#include <cstring>

namespace {

constexpr const char* kSeverities[] = {"PS_INDETERMINATE", "PS_CRITICAL", "PS_MAJOR",
                                       "PS_MINOR",         "PS_WARNING",  "PS_CLEARED"};
constexpr const char* kAcknowledgements[] = {"AI_EVENT_ACKNOWLEDGED", "AI_EVENT_UNACKNOWLEDGED",
                                             "AI_NA"};

std::string textIn(const CORBA::Any& value) {
    const char* text = "";
    value >>= text;
    return text;
}

}  // namespace

// [fields]
Alarm fieldsOf(const CosNotification::StructuredEvent& event) {
    Alarm alarm;
    const CosNotification::PropertySeq& data = event.filterable_data;
    for (CORBA::ULong i = 0; i < data.length(); ++i) {
        const std::string name = data[i].name.in();
        const CORBA::Any& value = data[i].value;
        const globaldefs::NamingAttributes_T* object = nullptr;
        if (name == "notificationId")
            alarm.id = std::stoull(textIn(value));
        else if (name == "objectName" && (value >>= object)) {
            for (CORBA::ULong j = 0; j < object->length(); ++j)
                alarm.objectName.emplace_back((*object)[j].name.in(), (*object)[j].value.in());
        } else if (name == "layerRate")
            value >>= alarm.layerRate;
        else if (name == "probableCause")
            alarm.probableCause = textIn(value);
        else if (name == "probableCauseQualifier")
            alarm.probableCauseQualifier = textIn(value);
        else if (name == "perceivedSeverity")
            value >>= alarm.perceivedSeverity;
        else if (name == "isClearable")
            value >>= CORBA::Any::to_boolean(alarm.isClearable);
        else if (name == "acknowledgeIndication")
            value >>= alarm.acknowledgeIndication;
    }
    return alarm;
}
// [end]

std::string jsonOf(const std::vector<Alarm>& alarms) {
    auto list = nlohmann::json::array();
    for (const Alarm& alarm : alarms) {
        auto name = nlohmann::json::array();
        for (const auto& [key, value] : alarm.objectName)
            name.push_back({key, value});
        list.push_back({{"id", alarm.id},
                        {"objectName", name},
                        {"layerRate", alarm.layerRate},
                        {"probableCause", alarm.probableCause},
                        {"probableCauseQualifier", alarm.probableCauseQualifier},
                        {"perceivedSeverity", kSeverities[alarm.perceivedSeverity]},
                        {"isClearable", alarm.isClearable},
                        {"acknowledgeIndication", kAcknowledgements[alarm.acknowledgeIndication]}});
    }
    constexpr auto kReplace = nlohmann::json::error_handler_t::replace;  // a text may not be UTF-8
    return nlohmann::json{{"alarms", list}}.dump(-1, ' ', false, kReplace);
}
