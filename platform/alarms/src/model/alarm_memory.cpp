#include <algorithm>
#include <array>
#include <numeric>

#include "kelp/alarms/alarm.h"

namespace kelp::alarms {

namespace {

std::size_t memoryIn(const std::string& text) {
    return sizeof(std::string) + text.size();
}
std::size_t memoryIn(const Alarm::Value& value) {
    const auto* const text = std::get_if<std::string>(&value);
    return sizeof value + (text == nullptr ? 0 : text->size());
}
std::size_t memoryIn(const CorrelatedNotifications& correlated);

template <class First, class Second>
std::size_t memoryIn(const std::pair<First, Second>& pair) {
    return memoryIn(pair.first) + memoryIn(pair.second);
}
template <class Member>
std::size_t memoryIn(const std::vector<Member>& list) {
    return std::accumulate(
        list.begin(), list.end(), sizeof list,
        [](std::size_t sum, const Member& each) { return sum + memoryIn(each); });
}

std::size_t memoryIn(const CorrelatedNotifications& correlated) {
    return memoryIn(correlated.source) + memoryIn(correlated.notificationIds);
}

template <class List>
std::size_t memoryIn(const std::optional<List>& list) {
    return list ? memoryIn(*list) : 0;
}

struct FieldMemory {
    const char* field;
    std::size_t octets;
};

/// The fields whose size is not fixed.
auto fieldsOf(const Alarm& alarm) {
    return std::to_array<FieldMemory>(
        {{"objectName", memoryIn(alarm.objectName)},
         {"nativeEMSName", memoryIn(alarm.nativeEMSName)},
         {"nativeProbableCause", memoryIn(alarm.nativeProbableCause)},
         {"objectTypeQualifier", memoryIn(alarm.objectTypeQualifier)},
         {"neTime", memoryIn(alarm.neTime)},
         {"probableCause", memoryIn(alarm.probableCause)},
         {"probableCauseQualifier", memoryIn(alarm.probableCauseQualifier)},
         {"affectedTPList", memoryIn(alarm.affectedTPList)},
         {"additionalText", memoryIn(alarm.additionalText)},
         {"additionalInfo", memoryIn(alarm.additionalInfo)},
         {"X.733::EventType", memoryIn(alarm.eventType)},
         {"X.733::SpecificProblems", memoryIn(alarm.specificProblems)},
         {"X.733::BackedUpStatus", memoryIn(alarm.backedUpStatus)},
         {"X.733::BackUpObject", memoryIn(alarm.backUpObject)},
         {"X.733::TrendIndication", memoryIn(alarm.trendIndication)},
         {"X.733::CorrelatedNotifications", memoryIn(alarm.correlatedNotifications)},
         {"X.733::MonitoredAttributes", memoryIn(alarm.monitoredAttributes)},
         {"X.733::ProposedRepairActions", memoryIn(alarm.proposedRepairActions)},
         {"X.733::AdditionalInfo", memoryIn(alarm.x733AdditionalInfo)}});
}

}  // namespace

std::size_t memoryOf(const Name& name) {
    return memoryIn(name);
}

std::size_t memoryOf(const Alarm& alarm) {
    const auto fields = fieldsOf(alarm);
    return std::accumulate(
        fields.begin(), fields.end(), sizeof alarm,
        [](std::size_t sum, const FieldMemory& each) { return sum + each.octets; });
}

std::string whatIsTooLong(const Alarm& alarm) {
    const std::size_t octets = memoryOf(alarm);
    if (octets <= kAlarmBytesMax)
        return "";
    const auto fields = fieldsOf(alarm);
    const auto largest = std::max_element(
        fields.begin(), fields.end(),
        [](const FieldMemory& one, const FieldMemory& other) { return one.octets < other.octets; });
    return std::string(largest->field) + " is too long: the alarm has " + std::to_string(octets) +
           " octets, and may have " + std::to_string(kAlarmBytesMax);
}

}  // namespace kelp::alarms
