#pragma once

#include <kelp/admin/registry.h>

#include <vector>

namespace kelp::host {

/// The parts that the host can see: managers, channel, logs, certificates, disks and inventory.
/// They are sources of admin::Parts for the object's lifetime.
class HostParts {
  public:
    HostParts();

  private:
    std::vector<admin::Registration> registrations_;
};

/// Answers GET /parts.
admin::Json tellParts(const admin::Json& request);

}  // namespace kelp::host
