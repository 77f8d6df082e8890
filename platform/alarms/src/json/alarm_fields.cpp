#include "json/alarm_fields.h"

#include <kelp/util/trace_log.h>

#include <map>
#include <stdexcept>

#include "json/json_values.h"
#include "kelp/alarms/enum_names.h"

namespace kelp::alarms {

namespace {

/// How a field's value is read and written.
template <class Value>
struct Form {
    Value (*read)(const Json&);
    Json (*write)(const Value&);
};

const Form<std::string> kText = {readText, [](const std::string& v) { return Json(v); }};
const Form<bool> kFlag = {readFlag, [](const bool& v) { return Json(v); }};
const Form<std::int16_t> kLayerRate = {readLayerRate,
                                       [](const std::int16_t& v) { return Json(v); }};
const Form<Name> kPairs = {readPairs, [](const Name& v) { return toJson(v); }};
const Form<Names> kNames = {readNames, writeNames};

template <const std::vector<std::string>& (*names)()>
const Form<std::string> kChoice = {[](const Json& v) { return readChoice(v, names()); },
                                   kText.write};

template <class Enum, const std::vector<std::string>& (*names)()>
const Form<Enum> kEnum = {
    [](const Json& v) { return readEnum<Enum>(v, names()); },
    [](const Enum& v) { return Json(names().at(static_cast<std::size_t>(v))); }};

template <class Value, auto read, auto write>
const Form<std::optional<Value>> kOptional = {
    [](const Json& v) { return std::optional<Value>(read(v)); },
    [](const std::optional<Value>& v) { return write(*v); }};

/// A field under its name in the standard.
class Field {
  public:
    virtual ~Field() = default;
    virtual void read(Alarm& alarm, const Json& json) const = 0;
    virtual bool isDefault(const Alarm& alarm) const = 0;
    virtual Json write(const Alarm& alarm) const = 0;
    /// Whether an NT_ALARM lacks the field when it has the default value.
    virtual bool isOptional() const = 0;
};

template <class Value>
class FieldOf : public Field {
  public:
    FieldOf(Value Alarm::*member, Form<Value> form, bool isOptional)
        : member_(member), form_(form), isOptional_(isOptional) {}

    void read(Alarm& alarm, const Json& json) const override { alarm.*member_ = form_.read(json); }
    bool isDefault(const Alarm& alarm) const override {
        static const Alarm usual;
        return alarm.*member_ == usual.*member_;
    }
    Json write(const Alarm& alarm) const override { return form_.write(alarm.*member_); }
    bool isOptional() const override { return isOptional_; }

  private:
    Value Alarm::*member_;
    Form<Value> form_;
    bool isOptional_;
};

/// The fields, in the order in which they are written, and by name.
class Fields {
  public:
    static const Fields& instance() {
        static const Fields fields;
        return fields;
    }
    const Field* find(const std::string& key) const {
        const auto known = byKey_.find(key);
        return known == byKey_.end() ? nullptr : known->second;
    }
    const std::vector<std::pair<std::string, std::unique_ptr<Field>>>& all() const {
        return fields_;
    }
    const std::map<std::string, const Field*>& byKey() const { return byKey_; }

  private:
    Fields() {
        add("objectName", &Alarm::objectName, kPairs);
        add("nativeEMSName", &Alarm::nativeEMSName, kText);
        add("nativeProbableCause", &Alarm::nativeProbableCause, kText);
        add("objectType", &Alarm::objectType, kEnum<ObjectType, objectTypeNames>);
        add("objectTypeQualifier", &Alarm::objectTypeQualifier, kText);
        add("neTime", &Alarm::neTime, kText);
        add("isClearable", &Alarm::isClearable, kFlag);
        add("layerRate", &Alarm::layerRate, kLayerRate);
        add("probableCause", &Alarm::probableCause, kText);
        add("probableCauseQualifier", &Alarm::probableCauseQualifier, kText);
        add("perceivedSeverity", &Alarm::perceivedSeverity, kEnum<Severity, severityNames>);
        add("serviceAffecting", &Alarm::serviceAffecting,
            kEnum<ServiceAffecting, serviceAffectingNames>);
        add("affectedTPList", &Alarm::affectedTPList, kNames);
        add("additionalText", &Alarm::additionalText, kText);
        add("additionalInfo", &Alarm::additionalInfo, kPairs);
        add("X.733::EventType", &Alarm::eventType, kChoice<eventTypeNames>);
        add("X.733::SpecificProblems", &Alarm::specificProblems, kNames);
        addOptional("X.733::BackedUpStatus", &Alarm::backedUpStatus, kChoice<backedUpStatusNames>);
        addOptional("X.733::BackUpObject", &Alarm::backUpObject, kPairs);
        addOptional("X.733::TrendIndication", &Alarm::trendIndication, kChoice<trendNames>);
        addOptional(
            "X.733::CorrelatedNotifications", &Alarm::correlatedNotifications,
            kOptional<std::vector<CorrelatedNotifications>, readCorrelated, writeCorrelated>);
        addOptional("X.733::MonitoredAttributes", &Alarm::monitoredAttributes,
                    kOptional<std::vector<std::pair<std::string, Alarm::Value>>, readAttributes,
                              writeAttributes>);
        add("X.733::ProposedRepairActions", &Alarm::proposedRepairActions, kNames);
        add("X.733::AdditionalInfo", &Alarm::x733AdditionalInfo, kNames);
        add("rcaiIndicator", &Alarm::rcaiIndicator, kFlag);
        add("acknowledgeIndication", &Alarm::acknowledgeIndication,
            kEnum<Acknowledgement, acknowledgementNames>);
    }

    template <class Value>
    void add(const char* key, Value Alarm::*member, const Form<Value>& form,
             bool isOptional = false) {
        fields_.emplace_back(key, std::make_unique<FieldOf<Value>>(member, form, isOptional));
        byKey_.emplace(key, fields_.back().second.get());
    }
    template <class Value>
    void addOptional(const char* key, Value Alarm::*member, const Form<Value>& form) {
        add(key, member, form, true);
    }

    std::vector<std::pair<std::string, std::unique_ptr<Field>>> fields_;
    std::map<std::string, const Field*> byKey_;
};

std::string readableTime(const std::string& text, const Json& value, const TimeLayout& layout) {
    if (text.empty() || !layout)
        return text;
    try {
        return layout(text);
    } catch (const std::invalid_argument&) {
        refuse("a time such as 20240105030405.0Z", value);
    }
}

}  // namespace

void readFields(Alarm& alarm, const Json& json, const TimeLayout& neTimeLayout) {
    if (!json.is_object())
        throw WrongAlarm("an alarm must be an object");
    for (const auto& [key, value] : json.items()) {
        const Field* const field = Fields::instance().find(key);
        if (field == nullptr)
            throw WrongAlarm("\"" + util::escaped(key, 100) +
                             "\" is no field that an alarm can be given");
        try {
            field->read(alarm, value);
            if (key == "neTime")
                alarm.neTime = readableTime(alarm.neTime, value, neTimeLayout);
        } catch (const WrongValue& wrong) {
            throw WrongAlarm(key + " " + wrong.what);
        }
    }
}

Json writeFields(const Alarm& alarm, FieldsWritten written) {
    Json json = Json::object();
    for (const auto& [key, field] : Fields::instance().all()) {
        const bool mayBeLeftOut = written == FieldsWritten::NotDefault || field->isOptional();
        if (!(mayBeLeftOut && field->isDefault(alarm)))
            json.push_back({key, field->write(alarm)});
    }
    return json;
}

std::vector<std::string> alarmKeys() {
    std::vector<std::string> keys;
    for (const auto& [key, field] : Fields::instance().byKey())
        keys.push_back(key);
    return keys;
}

}  // namespace kelp::alarms
