#pragma once

#include <kelp/orb/request.h>

namespace NS_CORBA {

/// What every request of an ORB passes. It holds the callers until the agent is ready, and refuses
/// them when it stops.
class StartBarrier : public kelp::orb::RequestHook {
  public:
    /// Return to the initial state, in which requests wait. For a newly started ORB.
    virtual void reset() = 0;
    /// Refuse waiting and later requests.
    virtual void refuse() = 0;
    /// End refuse() if the barrier can check requests.
    virtual void admit() = 0;
};

}  // namespace NS_CORBA
