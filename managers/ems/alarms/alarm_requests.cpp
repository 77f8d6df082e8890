#include "alarms/alarm_requests.h"

#include "alarms/alarm_intake.h"
#include "alarms/operator_acknowledgement.h"
#include "alarms/page_query.h"

namespace kelp::ems {

using admin::Json;
using admin::Request;

void AlarmRequests::enter(admin::Registry& registry) {
    registrations_.push_back(registry.enter(
        "POST", "/alarms", [](const Json& request) { return acceptAlarms(request); }));
    registrations_.push_back(registry.enter(
        "GET", "/alarms", pageParameters(),
        [this](const Request& request) { return pages_.active(request.parameters); }));
    registrations_.push_back(
        registry.enter("POST", "/alarms/acknowledgements",
                       [](const Json& request) { return acknowledgeForOperator(request); }));
    registrations_.push_back(registry.enter(
        "GET", "/alarms/history", pageParameters(),
        [this](const Request& request) { return pages_.history(request.parameters); }));
    registrations_.push_back(registry.enter("GET", "/alarms/*", {}, [](const Request& request) {
        return AlarmPages::one(request.item);
    }));
}

}  // namespace kelp::ems
