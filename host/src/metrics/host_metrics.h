#pragma once

#include <kelp/admin/metrics.h>

#include <vector>

namespace kelp::host {

/// Enters the metrics of the host: logs, naming, security events, consumers, certificate,
/// conditions.
class HostMetrics {
  public:
    HostMetrics();

  private:
    std::vector<admin::Registration> registrations_;
};

}  // namespace kelp::host
