#pragma once

#include <kelp/bundlemgr/service_object.h>

namespace NS_KELPCORBA {

/// The module's service object: `init` starts the agent, `Shutdown` stops it. The module's factory
/// function makes it, and the bundle manager calls it on the host's thread. Nothing throws. The
/// order of the virtual operations, including those of the base classes, is the binary contract
/// with the host.
class mx_kelpcorba_env : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    using ServiceObjectBase::ServiceObjectBase;

    /// Stop and destroy the agent, then close its trace.
    void Shutdown() override;
    /// Replace the previous interface by a new NULLServiceInterface, which the object owns, and
    /// return it.
    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;
    /// Always 0: Shutdown does the tear-down.
    int fini() override;
    /// Start the agent. The arguments are ignored. Return 0, or -1 when nothing of the agent is
    /// left running.
    int init(int argc, ACE_TCHAR* argv[]) override;
};

}  // namespace NS_KELPCORBA
