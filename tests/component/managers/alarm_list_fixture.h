#pragma once

#include <kelp/alarms/alarm_service.h>
#include <kelp/changelog/sqlite_log.h>
#include <mtnm/notifications.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "manager_fixture.h"
#include "support/temporary_directory.h"

namespace kelp::test {

/// An alarm of an object of the EMS: alarmOf({{"ManagedElement", "A"}}, "LOS").
inline alarms::Alarm alarmOf(const alarms::Name& below, const std::string& cause,
                             alarms::Severity severity = alarms::Severity::Major) {
    alarms::Alarm alarm;
    alarm.objectName = {{"EMS", "Kelp/EMS"}};
    alarm.objectName.insert(alarm.objectName.end(), below.begin(), below.end());
    alarm.probableCause = cause;
    alarm.nativeProbableCause = cause;
    alarm.perceivedSeverity = severity;
    return alarm;
}

/// Return a text field of an event; "(none)" if it has no such field.
inline std::string textIn(const CosNotification::StructuredEvent& event, const std::string& name) {
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        const char* text = nullptr;
        if (name == event.filterable_data[i].name.in() && (event.filterable_data[i].value >>= text))
            return text;
    }
    return "(none)";
}

/// The probable causes of the events in a list.
inline std::vector<std::string> causesOf(const notifications::EventList_T& events) {
    std::vector<std::string> causes;
    for (CORBA::ULong i = 0; i < events.length(); ++i)
        causes.push_back(textIn(events[i], "probableCause"));
    return causes;
}

/// Accepts every event.
class AcceptingSink final : public alarms::EventSink {
  public:
    bool send(std::span<const alarms::Event>) override { return true; }
};

/// The list of alarms of this process.
class SharedAlarms {
  public:
    SharedAlarms() {
        alarms::ServiceSettings settings;
        settings.savedLists = folder_ / "lists";
        changelog::SqliteLogSettings log;
        log.file = folder_ / "changes.db";
        log.syncEveryCommit = false;
        service_ = std::make_shared<alarms::AlarmService>(settings, changelog::openSqliteLog(log));
        service_->setSink(&sink_);
        service_->start();
        alarms::shareService(service_);
    }
    ~SharedAlarms() {
        alarms::shareService(nullptr);
        service_->stop();
    }
    SharedAlarms(const SharedAlarms&) = delete;
    SharedAlarms& operator=(const SharedAlarms&) = delete;

    alarms::AlarmService& operator*() const { return *service_; }
    alarms::AlarmService* operator->() const { return service_.get(); }

    alarms::Position report(const alarms::Alarm& alarm) const {
        return service_->submit({alarms::Report{alarm}}).at(0).position;
    }

  private:
    TemporaryDirectory folder_;
    AcceptingSink sink_;
    std::shared_ptr<alarms::AlarmService> service_;
};

}  // namespace kelp::test
