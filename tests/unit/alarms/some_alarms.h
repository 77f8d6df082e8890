#pragma once

#include <kelp/alarms/alarm_list.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kelp::test {

/// An alarm of a port.
inline alarms::Alarm someAlarm(alarms::Severity severity = alarms::Severity::Major,
                               const std::string& port = "1", const std::string& cause = "LOS") {
    alarms::Alarm alarm;
    alarm.objectName = {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-7"}, {"PTP", port}};
    alarm.nativeEMSName = port;
    alarm.objectType = alarms::ObjectType::PhysicalTerminationPoint;
    alarm.probableCause = alarm.nativeProbableCause = cause;
    alarm.perceivedSeverity = severity;
    return alarm;
}

inline alarms::Alarm someClear(const std::string& port = "1") {
    return someAlarm(alarms::Severity::Cleared, port);
}

/// An alarm in which no field has its default value.
inline alarms::Alarm fullAlarm() {
    alarms::Alarm alarm = someAlarm();
    const alarms::Name other = {{"EMS", "Kelp/EMS"}, {"ManagedElement", "NE-8"}};
    const alarms::Name twice = {{"Code", "1"}, {"Code", "2"}};
    alarm.objectTypeQualifier = "OT_X";
    alarm.neTime = "20240105030405.0Z";
    alarm.isClearable = false;
    alarm.layerRate = 20;
    alarm.probableCauseQualifier = "near";
    alarm.serviceAffecting = alarms::ServiceAffecting::NotAffecting;
    alarm.affectedTPList = {other, alarm.objectName};
    alarm.additionalText = "line cut \xff";  // not UTF-8
    alarm.additionalInfo = twice;
    alarm.eventType = "equipmentAlarm";
    alarm.specificProblems = {twice};
    alarm.backedUpStatus = "BACKED_UP";
    alarm.backUpObject = other;
    alarm.trendIndication = "MORE_SEVERE";
    alarm.correlatedNotifications = {{other, {"17", "18"}}, {{}, {}}};
    alarm.monitoredAttributes = {{"a", true}, {"b", -5}, {"c", 2.0}, {"d", std::string("x")}};
    alarm.proposedRepairActions = {twice, {}};
    alarm.x733AdditionalInfo = {other};
    alarm.rcaiIndicator = true;
    alarm.acknowledgeIndication = alarms::Acknowledgement::Acknowledged;
    return alarm;
}

/// Applies changes at positions 1, 2, 3 ..., a second after the other, and keeps the events.
class History {
  public:
    explicit History(const alarms::ListSettings& settings = {}) : list(settings) {}

    alarms::Effect report(const alarms::Alarm& alarm) { return apply(alarms::Report{alarm}); }
    alarms::Effect acknowledge(const alarms::Alarm& alarm, bool isAcknowledged = true) {
        return apply(
            alarms::Acknowledge{alarms::identityOf(alarm), isAcknowledged, "ada", "on my way"});
    }
    alarms::Effect settle(const alarms::Alarm& alarm) {
        return apply(alarms::Settle{alarms::identityOf(alarm)});
    }
    alarms::Effect apply(decltype(alarms::Change::what) what) {
        now += kSecond;
        const alarms::Effect effect = list.apply(++position, {now, std::move(what)});
        if (effect.event)
            events.push_back(*effect.event);
        return effect;
    }
    void wait(std::int64_t seconds) { now += seconds * kSecond; }

    alarms::Entry entry(const alarms::Alarm& alarm) const {
        return list.state().find(alarms::identityOf(alarm));
    }

    static constexpr std::int64_t kSecond = 1'000'000;

    alarms::AlarmList list;
    std::vector<alarms::Event> events;
    alarms::Position position = 0;
    std::int64_t now = 1'700'000'000 * kSecond;
};

inline const alarms::Alarm& alarmOf(const alarms::Event& event) {
    return *std::get<alarms::Event::AlarmContent>(event.what);
}

/// What an NMS has that merges the events by identity, with the notification ids.
class Merged {
  public:
    struct Row {
        alarms::Alarm alarm;
        alarms::Position notificationId = 0;

        bool operator==(const Row&) const = default;
    };

    void add(const alarms::Event& event) {
        const auto* content = std::get_if<alarms::Event::AlarmContent>(&event.what);
        if (content == nullptr)
            return;
        const alarms::Alarm& alarm = **content;
        if (alarm.perceivedSeverity == alarms::Severity::Cleared)
            rows_.erase(alarms::identityOf(alarm));
        else if (alarm.isClearable)
            rows_[alarms::identityOf(alarm)] = {alarm, event.position};
    }
    const std::map<alarms::AlarmId, Row>& rows() const { return rows_; }

    static std::map<alarms::AlarmId, Row> of(const alarms::ListState& state) {
        std::map<alarms::AlarmId, Row> rows;
        for (const alarms::Entry& entry : state.read())
            rows[alarms::identityOf(entry->alarm)] = {entry->alarm, entry->notificationId};
        return rows;
    }

  private:
    std::map<alarms::AlarmId, Row> rows_;
};

}  // namespace kelp::test
