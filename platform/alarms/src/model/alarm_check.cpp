#include <algorithm>
#include <cmath>
#include <set>

#include "kelp/alarms/alarm.h"
#include "kelp/alarms/enum_names.h"
#include "model/text_check.h"

namespace kelp::alarms {

bool hasZero(const std::string& text) {
    return text.find('\0') != std::string::npos;
}

bool hasZero(const Name& name) {
    return std::any_of(name.begin(), name.end(), [](const auto& pair) {
        return hasZero(pair.first) || hasZero(pair.second);
    });
}

bool hasZero(const Names& names) {
    return std::any_of(names.begin(), names.end(), [](const Name& name) { return hasZero(name); });
}

namespace {

bool hasZeroIn(const CorrelatedNotifications& correlated) {
    const auto& ids = correlated.notificationIds;
    return hasZero(correlated.source) ||
           std::any_of(ids.begin(), ids.end(), [](const auto& id) { return hasZero(id); });
}

/// The field with a text that CORBA cannot carry; empty when there is none.
std::string fieldWithZero(const Alarm& alarm) {
    const std::pair<const char*, bool> fields[] = {
        {"objectName", hasZero(alarm.objectName)},
        {"nativeEMSName", hasZero(alarm.nativeEMSName)},
        {"nativeProbableCause", hasZero(alarm.nativeProbableCause)},
        {"objectTypeQualifier", hasZero(alarm.objectTypeQualifier)},
        {"neTime", hasZero(alarm.neTime)},
        {"probableCause", hasZero(alarm.probableCause)},
        {"probableCauseQualifier", hasZero(alarm.probableCauseQualifier)},
        {"affectedTPList", hasZero(alarm.affectedTPList)},
        {"additionalText", hasZero(alarm.additionalText)},
        {"additionalInfo", hasZero(alarm.additionalInfo)},
        {"X.733::EventType", hasZero(alarm.eventType)},
        {"X.733::SpecificProblems", hasZero(alarm.specificProblems)},
        {"X.733::BackedUpStatus", hasZero(alarm.backedUpStatus)},
        {"X.733::BackUpObject", hasZero(alarm.backUpObject)},
        {"X.733::TrendIndication", hasZero(alarm.trendIndication)},
        {"X.733::ProposedRepairActions", hasZero(alarm.proposedRepairActions)},
        {"X.733::AdditionalInfo", hasZero(alarm.x733AdditionalInfo)},
    };
    for (const auto& [name, isWrong] : fields) {
        if (isWrong)
            return name;
    }
    if (alarm.correlatedNotifications) {
        const auto& all = *alarm.correlatedNotifications;
        if (std::any_of(all.begin(), all.end(), [](const auto& each) { return hasZeroIn(each); }))
            return "X.733::CorrelatedNotifications";
    }
    return "";
}

/// What is wrong with the value of a monitored attribute; empty when it is right.
std::string wrongValue(const Alarm::Value& value) {
    if (const auto* text = std::get_if<std::string>(&value))
        return hasZero(*text) ? "a text without a character of number 0" : "";
    const auto* number = std::get_if<double>(&value);
    return number != nullptr && !std::isfinite(*number) ? "finite" : "";
}

std::string wrongAttribute(const Alarm& alarm) {
    if (!alarm.monitoredAttributes)
        return "";
    constexpr std::size_t kAttributesMax = 1000;
    std::set<std::string> names;
    for (const auto& [name, value] : *alarm.monitoredAttributes) {
        if (!names.insert(name).second || names.size() > kAttributesMax)
            return "X.733::MonitoredAttributes must be at most 1000 different ones";
        const std::string wrong = hasZero(name) ? wrongValue(name) : wrongValue(value);
        if (!wrong.empty())
            return "X.733::MonitoredAttributes must be " + wrong;
    }
    return "";
}

template <class Enum>
bool isIn(Enum value, const std::vector<std::string>& names) {
    return static_cast<std::size_t>(value) < names.size();
}

bool isOneOf(const std::string& text, const std::vector<std::string>& choices) {
    return std::find(choices.begin(), choices.end(), text) != choices.end();
}

/// The field with a value that is not in its list; empty when there is none.
std::string fieldWithoutName(const Alarm& alarm) {
    const std::pair<const char*, bool> fields[] = {
        {"objectType", isIn(alarm.objectType, objectTypeNames())},
        {"perceivedSeverity", isIn(alarm.perceivedSeverity, severityNames())},
        {"serviceAffecting", isIn(alarm.serviceAffecting, serviceAffectingNames())},
        {"acknowledgeIndication", isIn(alarm.acknowledgeIndication, acknowledgementNames())},
        {"X.733::EventType", isOneOf(alarm.eventType, eventTypeNames())},
        {"X.733::BackedUpStatus",
         alarm.backedUpStatus.empty() || isOneOf(alarm.backedUpStatus, backedUpStatusNames())},
        {"X.733::TrendIndication",
         alarm.trendIndication.empty() || isOneOf(alarm.trendIndication, trendNames())},
    };
    for (const auto& [name, isKnown] : fields) {
        if (!isKnown)
            return name;
    }
    return "";
}

}  // namespace

std::string whatIsWrong(const Alarm& alarm) {
    if (alarm.objectName.empty())
        return "objectName must have a component";
    if (alarm.layerRate < 0)
        return "layerRate must be an integer from 0 to 32767";
    if (alarm.perceivedSeverity == Severity::Cleared && !alarm.isClearable)
        return "isClearable must be true when perceivedSeverity is PS_CLEARED";
    if ((alarm.backedUpStatus == "BACKED_UP") == alarm.backUpObject.empty())
        return "X.733::BackUpObject belongs to the X.733::BackedUpStatus BACKED_UP, and to no "
               "other";
    const std::string unnamed = fieldWithoutName(alarm);
    if (!unnamed.empty())
        return unnamed + " must be one of the values that the standard names";
    const std::string zero = fieldWithZero(alarm);
    if (!zero.empty())
        return zero + " must be a text without a character of number 0";
    return wrongAttribute(alarm);
}

}  // namespace kelp::alarms
