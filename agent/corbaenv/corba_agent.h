#pragma once

namespace NS_KELPCORBA {

/// The start and stop order of the whole agent: platform, session manager, the manager interfaces
/// of other bundles, and the naming monitor. Called on the host's thread; nothing throws. One start
/// a load: after ExitThrds the agent of this load stays stopped.
class CorbaAgentFacade {
  public:
    /// True when the agent runs. On false everything already started has been stopped and destroyed
    /// again.
    static bool Init();
    /// Ends all threads and shuts the ORB down; bounded, also while NMS and naming service hang.
    /// Harmless after a failed start.
    static void ExitThrds();
    /// Destroys the singletons, those never made included; after ExitThrds.
    static void Fini();
};

}  // namespace NS_KELPCORBA
