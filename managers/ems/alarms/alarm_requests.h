#pragma once

#include <kelp/admin/registry.h>

#include <vector>

#include "alarms/alarm_pages.h"

namespace kelp::ems {

/// The requests of the operator's interface about alarms.
class AlarmRequests {
  public:
    AlarmRequests() = default;
    ~AlarmRequests() { leave(); }
    AlarmRequests(const AlarmRequests&) = delete;
    AlarmRequests& operator=(const AlarmRequests&) = delete;

    /// Answer them from now on. Throws std::invalid_argument if another bundle answers one of them.
    void enter(admin::Registry& registry);
    /// Answer them no more. Returns after the calls in progress have ended.
    void leave() { registrations_.clear(); }

  private:
    AlarmPages pages_;
    std::vector<admin::Registration> registrations_;
};

}  // namespace kelp::ems
