#pragma once

#include <kelp/nms/session.h>

#include <string>

namespace kelp::nms {

/// Something that takes a while to read from the EMS.
class NetworkTask {
  public:
    virtual ~NetworkTask() = default;

    /// Reads and writes it. False when what came may not be all, which has been told. Throws
    /// NmsError, Interrupted, CannotWrite, or std::invalid_argument for an element to begin with
    /// that there is not.
    virtual bool run(NmsSession& session) = 0;
    /// After it was cut short: how far it came, and how to go on. From any thread.
    virtual std::string cutShort() = 0;
};

}  // namespace kelp::nms
