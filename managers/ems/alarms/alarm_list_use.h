#pragma once

#include <kelp/alarms/alarm_service.h>

#include <memory>
#include <string>
#include <vector>

namespace kelp::ems {

/// The list of alarms of this process. Throws admin::RequestError (503) while there is none.
std::shared_ptr<alarms::AlarmService> listOfAlarms();

/// Submit changes with an idempotency key, which may be empty. Throws admin::RequestError: 400 for
/// a change that is not valid, 409 for a key that was used with other changes, 503 while the EMS
/// cannot accept changes.
std::vector<alarms::Result> submit(std::vector<alarms::Submission> changes,
                                   const std::string& key = {});

}  // namespace kelp::ems
