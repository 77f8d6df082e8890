#include <numeric>

#include "kelp/alarms/alarm.h"

namespace kelp::alarms {

namespace {

std::size_t memoryOf(const std::string& text) {
    return sizeof text + text.size();
}
std::size_t memoryOf(const Alarm::Value& value) {
    const auto* const text = std::get_if<std::string>(&value);
    return sizeof value + (text == nullptr ? 0 : text->size());
}
std::size_t memoryOf(const CorrelatedNotifications& correlated);

template <class First, class Second>
std::size_t memoryOf(const std::pair<First, Second>& pair) {
    return memoryOf(pair.first) + memoryOf(pair.second);
}
template <class Member>
std::size_t memoryOf(const std::vector<Member>& list) {
    return std::accumulate(
        list.begin(), list.end(), sizeof list,
        [](std::size_t sum, const Member& each) { return sum + memoryOf(each); });
}

std::size_t memoryOf(const CorrelatedNotifications& correlated) {
    return memoryOf(correlated.source) + memoryOf(correlated.notificationIds);
}

template <class List>
std::size_t memoryOf(const std::optional<List>& list) {
    return list ? memoryOf(*list) : 0;
}

}  // namespace

std::size_t memoryOf(const Alarm& alarm) {
    std::size_t sum = sizeof alarm;
    for (const std::string* const text :
         {&alarm.nativeEMSName, &alarm.nativeProbableCause, &alarm.objectTypeQualifier,
          &alarm.neTime, &alarm.probableCause, &alarm.probableCauseQualifier, &alarm.additionalText,
          &alarm.eventType, &alarm.backedUpStatus, &alarm.trendIndication})
        sum += text->size();
    for (const Name* const pairs : {&alarm.objectName, &alarm.additionalInfo, &alarm.backUpObject})
        sum += memoryOf(*pairs);
    for (const Names* const names : {&alarm.affectedTPList, &alarm.specificProblems,
                                     &alarm.proposedRepairActions, &alarm.x733AdditionalInfo})
        sum += memoryOf(*names);
    return sum + memoryOf(alarm.correlatedNotifications) + memoryOf(alarm.monitoredAttributes);
}

}  // namespace kelp::alarms
