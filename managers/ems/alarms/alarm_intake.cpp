#include "alarms/alarm_intake.h"

#include <kelp/alarms/alarm_schema.h>

#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm_json.h"
#include "alarms/alarm_list_use.h"

namespace kelp::ems {

namespace {

using admin::Json;
using admin::RequestError;

constexpr const char* kKey = "idempotencyKey";
constexpr const char* kAlarms = "alarms";

struct PostedAlarms {
    std::vector<alarms::Alarm> alarms;
    std::string key;  // empty: none
};

/// Check everything but the alarms.
void checkEnvelope(const Json& request) {
    Json envelope = request;
    if (request.contains(kAlarms) && request[kAlarms].is_array())
        envelope[kAlarms] = Json::array();
    const auto wrong = alarms::schemaViolation(envelope, alarms::SchemaPart::KeyedAlarms);
    if (!wrong)
        return;
    const std::string field = wrong->path.empty() ? "the request" : wrong->path.substr(1);
    throw RequestError(field +
                           " must be as in {\"idempotencyKey\": \"...\", \"alarms\": [...]}, "
                           "with a key of 1 to " +
                           std::to_string(alarms::kSubmissionKeyBytesMax) + " octets",
                       RequestError::kBadRequest, wrong->path);
}

PostedAlarms read(const Json& request) {
    if (!request.is_object() || !(request.contains(kKey) || request.contains(kAlarms)))
        return {readAlarms(request), {}};
    checkEnvelope(request);
    return {readAlarms(request[kAlarms], std::string("/") + kAlarms), request[kKey]};
}

}  // namespace

Json acceptAlarms(const Json& request) {
    PostedAlarms posted = read(request);
    std::vector<alarms::Submission> changes;
    for (alarms::Alarm& each : posted.alarms)
        changes.emplace_back(alarms::Report{std::move(each)});
    Json answer = {{"taken", changes.size()}};
    if (changes.empty())
        return answer;
    const std::vector<alarms::Result> results = submit(std::move(changes), posted.key);
    answer["firstNotificationId"] = std::to_string(results.front().position);
    answer["lastNotificationId"] = std::to_string(results.back().position);
    Json outcomes = Json::array();
    for (const alarms::Result& each : results)
        outcomes.push_back(each.outcome ? alarms::nameOf(*each.outcome) : "accepted earlier");
    answer["outcomes"] = std::move(outcomes);
    return answer;
}

}  // namespace kelp::ems
