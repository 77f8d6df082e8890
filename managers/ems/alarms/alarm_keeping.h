#pragma once

#include <kelp/alarms/alarm_service.h>

#include <memory>

#include "alarms/channel_sink.h"

namespace kelp::ems {

/// Keeps the list of alarms of this process while the bundle is loaded: makes the service from the
/// configuration and shares it with the other bundles.
class AlarmKeeping {
  public:
    AlarmKeeping() = default;
    ~AlarmKeeping() { stop(); }
    AlarmKeeping(const AlarmKeeping&) = delete;
    AlarmKeeping& operator=(const AlarmKeeping&) = delete;

    /// Start the service. The list is complete when this returns. Throws std::runtime_error, with
    /// one sentence that names the file, if the alarms cannot be read.
    void start();
    /// End the service. Reports that were accepted are in the log.
    void stop();

  private:
    ChannelSink sink_;
    std::shared_ptr<alarms::AlarmService> service_;
};

}  // namespace kelp::ems
