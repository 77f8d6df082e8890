#pragma once

#include <kelp/util/export.h>

namespace NS_CORBA {

/// The life of the ORB that CorbaBaseAgentConfig started. Static operations; nothing throws.
class KELP_EXPORT AgentServer {
  public:
    /// Thread body: serves requests until ShutDown. The argument is unused.
    static void* AgentWorker(void* unused);
    /// Lets waiting and new callers through. 0, or -1 (traced) when the ORB refuses.
    static int Activate();
    /// New requests are refused with TRANSIENT from here on. Harmless without an ORB.
    static void Discard();
    /// Stops the ORB and waits, a bounded time, for the worker to leave. Harmless without an ORB.
    static void ShutDown();
    /// Destroys the ORB. Harmless without one.
    static void Destroy();
};

}  // namespace NS_CORBA
