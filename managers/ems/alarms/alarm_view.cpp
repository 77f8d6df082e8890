#include "alarms/alarm_view.h"

#include <kelp/agent/time_change.h>
#include <kelp/alarms/alarm_json.h>
#include <kelp/bundlemgr/config_store.h>

namespace kelp::ems {

using admin::Json;

Json viewOf(const alarms::ActiveAlarm& entry) {
    Json view = {{"notificationId", std::to_string(entry.notificationId)},
                 {"emsTime", timeText(entry.changedAt)}};
    view.update(alarms::toJson(entry.alarm));
    if (entry.alarm.neTime.empty() &&
        NS_BUNDLEMGR1::ConfigStore::instance().flag("notification.fill_ne_time"))
        view["neTime"] = view["emsTime"];
    view.update({{"raisedTime", timeText(entry.raisedAt)},
                 {"reportedTime", timeText(entry.reportedAt)},
                 {"repeats", entry.repeats},
                 {"isFlapping", entry.isFlapping},
                 {"isAcknowledged", entry.isAcknowledged()}});
    // somebody has acknowledged it, or taken that back
    if (entry.acknowledgedAt != 0)
        view.update({{"acknowledgedBy", entry.acknowledgedBy},
                     {"acknowledgedTime", timeText(entry.acknowledgedAt)},
                     {"notepad", entry.notepad}});
    return view;
}

Json viewOf(const alarms::PastAlarm& past) {
    Json view = viewOf(past.last);
    view.update({{"endTime", timeText(past.endedAt)},
                 {"endNotificationId", std::to_string(past.notificationId)}});
    return view;
}

std::string timeText(std::int64_t microseconds) {
    constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
    // 0 would mean now
    return microseconds == 0 ? ""
                             : NS_KELPCORBA::TimeChange::time2strByConf(
                                   static_cast<long>(microseconds / kMicrosecondsPerSecond));
}

}  // namespace kelp::ems
