#include "alarms/alarm_intake.h"

#include <kelp/agent/time_change.h>
#include <kelp/corbabase/supplier_mgr.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm_event.h"
#include "alarms/alarm_json.h"

namespace kelp::ems {

namespace {

std::uint64_t microsecondsNow() {
    using namespace std::chrono;
    return static_cast<std::uint64_t>(
        duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
}

}  // namespace

AlarmIntake::AlarmIntake() : nextId_(microsecondsNow()) {}

admin::Json AlarmIntake::accept(const admin::Json& request) {
    const std::vector<Alarm> alarms = readAlarms(request);
    admin::Json answer = {{"taken", alarms.size()}};
    if (alarms.empty())
        return answer;
    std::vector<CosNotification::StructuredEvent> events(alarms.size());
    const util::MutexLock lock(mutex_);
    const std::uint64_t first = nextId_;
    const std::string emsTime = NS_KELPCORBA::TimeChange::time2strByConf(0L);
    for (std::size_t i = 0; i < alarms.size(); ++i)
        fillAlarmEvent(events[i], alarms[i], std::to_string(first + i), emsTime);
    if (NS_CORBA::SuppilerMgr::Instance()->PushEvents(std::move(events)) != 0)
        throw admin::RequestError("there is no notification channel now, no alarm was taken",
                                  admin::RequestError::kUnavailable);
    nextId_ += alarms.size();
    answer["firstNotificationId"] = std::to_string(first);
    answer["lastNotificationId"] = std::to_string(nextId_ - 1);
    return answer;
}

}  // namespace kelp::ems
