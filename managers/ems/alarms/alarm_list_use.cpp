#include "alarms/alarm_list_use.h"

#include <kelp/admin/registry.h>

#include <utility>

namespace kelp::ems {

using admin::RequestError;

namespace {

using Why = alarms::IntakeRefused::Why;

int statusFor(Why why) {
    switch (why) {
        case Why::Invalid:
            return RequestError::kBadRequest;
        case Why::Conflict:
            return RequestError::kConflict;
        default:
            return RequestError::kUnavailable;
    }
}

constexpr const char* kOperator = "operator";

}  // namespace

std::shared_ptr<alarms::AlarmService> listOfAlarms() {
    auto service = alarms::sharedService();
    if (!service)
        throw RequestError("the EMS has no list of alarms now", RequestError::kUnavailable);
    return service;
}

std::vector<alarms::Result> submit(std::vector<alarms::Submission> changes,
                                   const std::string& key) {
    try {
        return listOfAlarms()->submit(std::move(changes), key, kOperator);
    } catch (const alarms::IntakeRefused& refused) {
        throw RequestError(refused.what(), statusFor(refused.why()));
    }
}

}  // namespace kelp::ems
