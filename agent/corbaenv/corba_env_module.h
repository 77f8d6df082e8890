#pragma once

#include <kelp/bundlemgr/service_object.h>

namespace NS_KELPCORBA {

/// The module's service object: `init` starts the agent, `Shutdown` stops it. Made by the module's
/// factory function and driven by the bundle manager on the host's thread. Nothing throws. The
/// order of the virtual operations, with those of the bases before them, is the binary contract
/// with the host.
class mx_kelpcorba_env : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    using ServiceObjectBase::ServiceObjectBase;

    /// Stops and destroys the agent, then the use of the trace.
    void Shutdown() override;
    /// A new NULLServiceInterface in place of the one before; owned by the object.
    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;
    /// 0; the teardown is Shutdown's.
    int fini() override;
    /// Starts the agent; the arguments are ignored. 0, or -1 when nothing of it is left running.
    int init(int argc, ACE_TCHAR* argv[]) override;
};

}  // namespace NS_KELPCORBA
