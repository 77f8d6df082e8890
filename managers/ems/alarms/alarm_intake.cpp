#include "alarms/alarm_intake.h"

#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm_json.h"
#include "alarms/alarm_list_use.h"

namespace kelp::ems {

admin::Json acceptAlarms(const admin::Json& request) {
    std::vector<alarms::Submission> changes;
    for (alarms::Alarm& each : readAlarms(request))
        changes.emplace_back(alarms::Report{std::move(each)});
    admin::Json answer = {{"taken", changes.size()}};
    if (changes.empty())
        return answer;
    const std::vector<alarms::Result> results = submit(std::move(changes));
    answer["firstNotificationId"] = std::to_string(results.front().position);
    answer["lastNotificationId"] = std::to_string(results.back().position);
    admin::Json outcomes = admin::Json::array();
    for (const alarms::Result& each : results)
        outcomes.push_back(each.outcome ? alarms::nameOf(*each.outcome) : "accepted before");
    answer["outcomes"] = std::move(outcomes);
    return answer;
}

}  // namespace kelp::ems
