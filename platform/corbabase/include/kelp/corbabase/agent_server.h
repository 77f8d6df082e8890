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
    /// The first step of every stop: from here on work in progress anywhere in the process, and
    /// outgoing calls in particular, has a second left (kelp::util::kStopGrace). Ends with the next
    /// start of an ORB.
    static void BeginStop();
    /// New requests are refused with TRANSIENT from here on. Harmless without an ORB.
    static void Discard();
    /// Stops the ORB and waits, a bounded time, for the worker to leave. Harmless without an ORB.
    static void ShutDown();
    /// False after a ShutDown that did not see the last request leave: what requests use must stay.
    static bool HasLastRequestLeft();
    /// Destroys the ORB. Harmless without one.
    static void Destroy();
};

}  // namespace NS_CORBA
