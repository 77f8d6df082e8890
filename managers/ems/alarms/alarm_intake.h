#pragma once

#include <kelp/admin/registry.h>
#include <kelp/util/mutex.h>

#include <cstdint>

namespace kelp::ems {

/// Accepts alarms from the operator's interface and passes them to the notification channel. Each
/// alarm gets a notification id. The ids increase from one alarm to the next, also after a restart,
/// because they start with the time of the start in microseconds. This holds unless the clock is
/// set back, or a whole run averages more than a million alarms per second. Any thread may call it.
class AlarmIntake {
  public:
    AlarmIntake();

    /// Accept all alarms of the request or none. Return {"taken": 2, "firstNotificationId": "...",
    /// "lastNotificationId": "..."}, without ids when the request contains no alarm. Throws
    /// admin::RequestError for an invalid request, and while there is no channel.
    admin::Json accept(const admin::Json& request) KELP_EXCLUDES(mutex_);

  private:
    /// Held while ids are assigned and the alarms passed on, so that both happen in the same order.
    util::Mutex mutex_{util::LockRank::Agent, "AlarmIntake::mutex_"};
    std::uint64_t nextId_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::ems
