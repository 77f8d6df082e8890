#include <kelp/alarms/enum_names.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "mapping/rules.h"

namespace kelp::traps {

namespace {

/// Maximum size of a text that identifies an alarm, in bytes. It is never truncated, because then
/// two alarms could have the same identity: a trap with a longer text is unknown.
constexpr std::size_t kIdentityBytesMax = 1024;
/// Maximum size of other texts, in bytes.
constexpr std::size_t kTextBytesMax = 4096;

/// Why a rule cannot make an alarm of a trap.
class NoAlarm : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

std::string identityText(const Template& source, const Filling& filling, const std::string& what) {
    std::string missing;
    std::optional<std::string> text = source.fill(filling, missing);
    if (!text)
        throw NoAlarm("the trap has no value for " + missing + " of its " + what);
    if (text->size() > kIdentityBytesMax)
        throw NoAlarm("its " + what + " would have more than " + std::to_string(kIdentityBytesMax) +
                      " bytes");
    return *text;
}

std::string shortened(const std::string& text) {
    return util::escaped(text, kTextBytesMax);
}

alarms::Severity severityOf(const TrapRule& rule, const Filling& filling) {
    const std::string name = identityText(rule.severity, filling, "severity");
    const std::vector<std::string>& known = alarms::severityNames();
    const auto found = std::find(known.begin(), known.end(), name);
    if (found == known.end())
        throw NoAlarm("its severity " + util::escaped(name, 100) + " is not known");
    return static_cast<alarms::Severity>(found - known.begin());
}

alarms::Alarm alarmOf(const TrapRule& rule, const Filling& filling) {
    if (!rule.alarm)
        throw NoAlarm("its rule has no alarm");
    const AlarmRule& from = *rule.alarm;
    alarms::Alarm alarm;
    for (const auto& [component, value] : from.objectName)
        alarm.objectName.emplace_back(component, identityText(value, filling, "object name"));
    alarm.objectType = from.objectType;
    alarm.layerRate = from.layerRate;
    alarm.probableCause = identityText(from.probableCause, filling, "probable cause");
    alarm.probableCauseQualifier = identityText(from.qualifier, filling, "qualifier");
    alarm.perceivedSeverity = severityOf(rule, filling);
    alarm.isClearable = from.isClearable;
    alarm.serviceAffecting = from.serviceAffecting;
    alarm.eventType = from.eventType;
    alarm.nativeProbableCause = shortened(from.nativeProbableCause.fillWhatIsThere(filling));
    alarm.nativeEMSName = shortened(from.nativeEmsName.fillWhatIsThere(filling));
    if (alarm.nativeEMSName.empty() && !alarm.objectName.empty())
        alarm.nativeEMSName = alarm.objectName.back().second;
    alarm.additionalText = shortened(from.additionalText.fillWhatIsThere(filling));
    for (const auto& [name, value] : from.additionalInfo)
        alarm.additionalInfo.emplace_back(name, shortened(value.fillWhatIsThere(filling)));
    if (const std::string problem = alarms::whatIsWrong(alarm); !problem.empty())
        throw NoAlarm(problem);
    return alarm;
}

}  // namespace

alarms::Alarm unknownAlarm(const Filling& filling) {
    alarms::Alarm alarm;
    alarm.objectName = {{"EMS", filling.ems}, {"ManagedElement", filling.element}};
    alarm.objectType = alarms::ObjectType::ManagedElement;
    alarm.nativeEMSName = filling.element;
    alarm.probableCause = "UNIDENTIFIED";
    alarm.probableCauseQualifier = filling.trap.oid.text();
    alarm.nativeProbableCause = filling.trap.oid.text();
    alarm.perceivedSeverity = alarms::Severity::Indeterminate;
    // nobody knows which trap would clear it
    alarm.isClearable = false;
    alarm.additionalText = contentOfTrap(filling.trap, kTextBytesMax);
    return alarm;
}

Translation Mapping::translate(const Trap& trap, const std::string& ems) const {
    const auto named = rules_->elements.find(trap.address);
    const std::string element = named == rules_->elements.end() ? trap.address : named->second;
    const Filling filling{trap, ems, element};
    const auto rule = rules_->traps.find(trap.oid);
    if (rule == rules_->traps.end())
        return {unknownAlarm(filling), "no rule has its OID"};
    try {
        return {alarmOf(rule->second, filling), ""};
    } catch (const NoAlarm& reason) {
        return {unknownAlarm(filling), reason.what()};
    }
}

}  // namespace kelp::traps
