#pragma once

#include <kelp/admin/registry.h>

#include <cstdint>
#include <mutex>

namespace kelp::ems {

/// Takes alarms in from the operator's interface and hands them to the notification channel. Each
/// gets a notification id: numbers that grow from one alarm to the next, also past a restart, since
/// they begin with the time in microseconds (a clock that is set back, or more than a million
/// alarms a second for all of a run, would break that). Any thread.
class AlarmIntake {
  public:
    AlarmIntake();

    /// The request's alarms, all of them or none: {"taken": 2, "firstNotificationId": "...",
    /// "lastNotificationId": "..."}, without ids when the request has no alarm. Throws
    /// admin::RequestError for a request that is wrong and while there is no channel.
    admin::Json take(const admin::Json& request);

  private:
    std::mutex mutex_;      ///< held from taking ids to handing over, so that both have one order
    std::uint64_t nextId_;  ///< guarded by mutex_
};

}  // namespace kelp::ems
