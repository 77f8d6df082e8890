#pragma once

namespace NS_KELPCORBA {

/// The first real step of the agent's start: base configuration, options, the session factory's
/// object, callers held until the rest is ready, and the thread that runs the ORB. Undoes nothing
/// on failure; the caller's stop does.
class AgentServerFacade {
  public:
    /// 0, or -1 after exactly one trace of the reason. CORBA exceptions are traced; others pass to
    /// the caller.
    static int Init();
};

}  // namespace NS_KELPCORBA
