#pragma once

#include <kelp/admin/registry.h>
#include <kelp/alarms/alarm_service.h>

#include <memory>

#include "alarms/channel_sink.h"
#include "alarms/network_follower.h"

namespace kelp::ems {

/// Keeps the list of alarms of this process while the bundle is loaded: makes the service from the
/// configuration and shares it with the other bundles. Also carries the changes of the inventory
/// into the same log.
class AlarmKeeping {
  public:
    AlarmKeeping() = default;
    ~AlarmKeeping() { stop(); }
    AlarmKeeping(const AlarmKeeping&) = delete;
    AlarmKeeping& operator=(const AlarmKeeping&) = delete;

    /// Start the service. The list is complete when this returns. Throws std::runtime_error, with
    /// one sentence that names the file, if the alarms cannot be read. An inventory that cannot be
    /// read is no failure: its changes follow later.
    void start();
    /// End the service. Reports that were accepted are in the log.
    void stop();

  private:
    ChannelSink sink_;
    std::shared_ptr<alarms::AlarmService> service_;
    std::unique_ptr<NetworkFollower> follower_;  ///< uses the service
    admin::Registration conditions_;             ///< uses the service
    admin::Registration metrics_;                ///< uses the service
    admin::Registration alarmsPart_;             ///< uses the service
    admin::Registration intakePart_;             ///< uses the service
};

}  // namespace kelp::ems
