#include "active_alarms.h"

#include <kelp/agent/typed_iterator.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "alarm_event.h"
#include "alarm_list_access.h"

namespace kelp::managers {

namespace {

using Events = notifications::EventList_T;

/// What an encoded event has in addition to the texts of its alarm: the names and types of its
/// fields. Measured: 5.1 KiB.
constexpr std::size_t kFieldsBytes = std::size_t{6} * 1024;
/// What an encoded text has in addition to its characters: length, end and padding.
constexpr std::size_t kTextBytes = 8;

std::size_t encodedSizeOf(const std::string& text) {
    return text.size() + kTextBytes;
}

std::size_t encodedSizeOf(const alarms::Name& name) {
    std::size_t size = kTextBytes;
    for (const auto& [key, value] : name)
        size += encodedSizeOf(key) + encodedSizeOf(value);
    return size;
}

std::size_t encodedSizeOf(const alarms::Names& names) {
    std::size_t size = kTextBytes;
    for (const alarms::Name& each : names)
        size += encodedSizeOf(each);
    return size;
}

/// An upper limit for the size of the alarm's event in a message, in octets.
std::size_t encodedSizeOf(const alarms::Alarm& alarm) {
    std::size_t size = kFieldsBytes + encodedSizeOf(alarm.objectName) +
                       encodedSizeOf(alarm.affectedTPList) + encodedSizeOf(alarm.additionalInfo) +
                       encodedSizeOf(alarm.specificProblems) + encodedSizeOf(alarm.backUpObject) +
                       encodedSizeOf(alarm.proposedRepairActions) +
                       encodedSizeOf(alarm.x733AdditionalInfo);
    for (const std::string* text :
         {&alarm.nativeEMSName, &alarm.nativeProbableCause, &alarm.objectTypeQualifier,
          &alarm.neTime, &alarm.probableCause, &alarm.probableCauseQualifier, &alarm.additionalText,
          &alarm.eventType, &alarm.backedUpStatus, &alarm.trendIndication})
        size += encodedSizeOf(*text);
    if (alarm.correlatedNotifications) {
        for (const alarms::CorrelatedNotifications& each : *alarm.correlatedNotifications) {
            size += encodedSizeOf(each.source) + kTextBytes;
            for (const std::string& id : each.notificationIds)
                size += encodedSizeOf(id);
        }
    }
    if (alarm.monitoredAttributes) {
        constexpr std::size_t kValueBytes = 32;  // its type, and a number
        for (const auto& [name, value] : *alarm.monitoredAttributes) {
            const auto* const text = std::get_if<std::string>(&value);
            size += encodedSizeOf(name) + kValueBytes + (text != nullptr ? text->size() : 0);
        }
    }
    return size;
}

/// The active alarms of one moment as a list of events.
class ActiveAlarmList final : public NS_KELPCORBA::ListSource<Events> {
  public:
    explicit ActiveAlarmList(std::vector<alarms::Entry> entries) : entries_(std::move(entries)) {}

    CORBA::ULong left() const override {
        return static_cast<CORBA::ULong>(entries_.size() - next_);
    }
    void read(CORBA::ULong most, Events& events) override {
        const std::size_t end = next_ + std::min<std::size_t>(most, entries_.size() - next_);
        CORBA::ULong at = events.length();
        events.length(at + static_cast<CORBA::ULong>(end - next_));
        for (; next_ < end; ++next_) {
            const alarms::ActiveAlarm& entry = *entries_[next_];
            fillAlarmEvent(events[at++], entry.alarm, entry.notificationId, entry.changedAt);
        }
    }
    bool keepWayBack(bool keep) override {
        if (keep)
            kept_ = next_;
        return true;
    }
    void goBack() override { next_ = kept_; }
    std::size_t encodedSize(const Events& events, CORBA::ULong index) const override {
        const auto entry = std::lower_bound(entries_.begin(), entries_.end(), idOf(events[index]),
                                            [](const alarms::Entry& each, alarms::Position id) {
                                                return each->notificationId < id;
                                            });
        return entry == entries_.end() ? kFieldsBytes : encodedSizeOf((*entry)->alarm);
    }

  private:
    /// The notification id of an event that read() filled.
    static alarms::Position idOf(const CosNotification::StructuredEvent& event) {
        const char* text = nullptr;
        alarms::Position id = 0;
        if (event.filterable_data.length() > 0 && (event.filterable_data[0].value >>= text))
            std::from_chars(text, text + std::strlen(text), id);
        return id;
    }

    const std::vector<alarms::Entry> entries_;  // in the order of the notification ids
    std::size_t next_ = 0;
    std::size_t kept_ = 0;
};

using AlarmIterator =
    NS_KELPCORBA::TypedIterator<notifications::EventIterator_I, POA_notifications::EventIterator_I,
                                notifications::EventList_T, notifications::EventList_T_out>;

}  // namespace

alarms::AlarmQuery excluding(const notifications::ProbableCauseList_T& probableCauses,
                             const notifications::PerceivedSeverityList_T& severities) {
    alarms::AlarmQuery query;
    for (CORBA::ULong i = 0; i < probableCauses.length(); ++i)
        query.probableCausesExcluded.insert(probableCauses[i].in());
    for (CORBA::ULong i = 0; i < severities.length(); ++i)
        query.severitiesExcluded.insert(static_cast<alarms::Severity>(severities[i]));
    return query;
}

notifications::EventIterator_I_ptr giveActiveAlarms(CORBA::ULong howMany,
                                                    notifications::EventList_T_out list,
                                                    const alarms::AlarmQuery& query) {
    std::vector<alarms::Entry> entries = alarmList()->state()->read(query);
    return AlarmIterator::give(std::make_unique<ActiveAlarmList>(std::move(entries)), howMany,
                               list);
}

}  // namespace kelp::managers
