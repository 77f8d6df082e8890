#include "alarms/alarm_filter.h"

#include <algorithm>
#include <stdexcept>

namespace kelp::nms {

namespace {

constexpr const char* kEmsComponentName = "EMS";

bool beginsWith(const alarms::Name& name, const alarms::Name& beginning, std::size_t offset) {
    return name.size() >= offset + beginning.size() &&
           std::equal(beginning.begin(), beginning.end(),
                      name.begin() + static_cast<std::ptrdiff_t>(offset));
}

}  // namespace

bool AlarmFilter::accepts(const NmsAlarm& alarm) const {
    if (onlyUnacknowledged && alarm.isAcknowledged)
        return false;
    if (!severities.empty() && !severities.contains(alarm.severity))
        return false;
    const alarms::Name& name = alarm.id.objectName;
    return beginsWith(name, object, 0) ||
           (!name.empty() && name.front().first == kEmsComponentName &&
            beginsWith(name, object, 1));
}

alarms::Name objectNameFrom(const std::vector<std::string>& components) {
    alarms::Name name;
    for (const std::string& component : components) {
        const std::size_t equals = component.find('=');
        if (equals == 0 || equals == std::string::npos)
            throw std::invalid_argument("\"" + component + "\" is no component such as " +
                                        "ManagedElement=NE-1");
        name.emplace_back(component.substr(0, equals), component.substr(equals + 1));
    }
    return name;
}

}  // namespace kelp::nms
