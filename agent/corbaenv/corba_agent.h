#pragma once

namespace NS_KELPCORBA {

/// Starts and stops the whole agent in order: the platform, the session manager, the manager
/// interfaces of other bundles, and the naming monitor. Called on the host's thread. Nothing
/// throws. One start per load of the library: after ExitThrds the agent stays stopped.
class CorbaAgentFacade {
  public:
    /// Start the agent. Return true when it runs. On failure stop and destroy everything already
    /// started and return false.
    static bool Init();
    /// End all threads and shut the ORB down. The time is bounded, also while NMS and the naming
    /// service hang. Harmless after a failed start.
    static void ExitThrds();
    /// Destroy all singletons that were made. Called after ExitThrds.
    static void Fini();
};

}  // namespace NS_KELPCORBA
