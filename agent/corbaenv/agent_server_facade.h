#pragma once

namespace NS_KELPCORBA {

/// The first main step of the agent's start: read base configuration and options, activate the
/// session factory's object, hold requests until the rest is ready, and start the thread that runs
/// the ORB. Undoes nothing on failure: the caller's stop does that.
class AgentServerFacade {
  public:
    /// Return 0, or -1 after exactly one trace of the reason. CORBA exceptions are traced. Others
    /// propagate to the caller.
    static int Init();
};

}  // namespace NS_KELPCORBA
