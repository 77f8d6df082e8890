#pragma once

#include <kelp/nms/session.h>

#include <string>

namespace kelp::nms {

/// A list or a dump that is read from the EMS, which may take long.
class NetworkTask {
  public:
    virtual ~NetworkTask() = default;

    /// Read and write it. Returns false when it may be incomplete; the reason has then been
    /// reported. Throws NmsError, Interrupted or CannotWrite. Throws std::invalid_argument when the
    /// element to begin with does not exist.
    virtual bool run(NmsSession& session) = 0;
    /// After it was cut short: return how far it came and how to go on. May be called from any
    /// thread.
    virtual std::string cutShort() = 0;
};

}  // namespace kelp::nms
