#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/traps/mapping.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mapping/template.h"

namespace kelp::traps {

/// A table [alarm.NAME]: the alarm that one or more traps raise, change and clear.
struct AlarmRule {
    using NamedTemplates = std::vector<std::pair<std::string, Template>>;

    std::string name;
    NamedTemplates objectName;
    alarms::ObjectType objectType = alarms::ObjectType::ManagedElement;
    std::int16_t layerRate = 1;  ///< LR_Not_Applicable
    Template probableCause;
    Template qualifier;
    Template nativeProbableCause;
    Template nativeEmsName;
    Template additionalText;
    NamedTemplates additionalInfo;
    std::string eventType = "communicationsAlarm";
    bool isClearable = true;
    alarms::ServiceAffecting serviceAffecting = alarms::ServiceAffecting::Unknown;
};

/// A table [[trap]].
struct TrapRule {
    std::shared_ptr<const AlarmRule> alarm;
    Template severity;
    std::string file;
    int line = 0;
};

struct Mapping::Rules {
    std::map<Oid, TrapRule> traps;
    std::map<std::string, std::string> elements;  ///< names of managed elements by address
};

/// Add the rules of a file's text to `rules`.
void readRules(const std::string& text, const std::string& name, std::map<Oid, TrapRule>& traps,
               std::map<std::string, std::string>& elements, std::vector<MappingProblem>& problems);

/// The alarm of a trap without a rule, or of which a rule cannot make an alarm.
alarms::Alarm unknownAlarm(const Filling& filling);

}  // namespace kelp::traps
