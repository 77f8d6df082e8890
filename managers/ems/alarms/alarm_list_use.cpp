#include "alarms/alarm_list_use.h"

#include <kelp/admin/registry.h>

#include <utility>

namespace kelp::ems {

using admin::RequestError;

std::shared_ptr<alarms::AlarmService> listOfAlarms() {
    auto service = alarms::sharedService();
    if (!service)
        throw RequestError("the EMS has no list of alarms now", RequestError::kUnavailable);
    return service;
}

std::vector<alarms::Result> submit(std::vector<alarms::Submission> changes,
                                   const std::string& key) {
    try {
        return listOfAlarms()->submit(std::move(changes), key);
    } catch (const alarms::IntakeRefused& refused) {
        throw RequestError(refused.what(), refused.why() == alarms::IntakeRefused::Why::Invalid
                                               ? RequestError::kBadRequest
                                               : RequestError::kUnavailable);
    }
}

}  // namespace kelp::ems
