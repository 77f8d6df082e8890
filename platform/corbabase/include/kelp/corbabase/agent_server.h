#pragma once

#include <kelp/util/export.h>

namespace NS_CORBA {

/// Serves and stops the ORB that CorbaBaseAgentConfig started. Any thread may call it. Nothing
/// throws.
class KELP_EXPORT AgentServer {
  public:
    /// Thread body: serve requests until ShutDown. The argument is unused and the result is null.
    static void* AgentWorker(void* unused);
    /// Let waiting and new callers through. Return 0, or -1 (traced) when there is no ORB or it
    /// refuses.
    static int Activate();
    /// The first step of every stop. From here on, work in progress anywhere in the process, in
    /// particular outgoing calls, has 1 s left (kelp::util::kStopGrace). This holds until the next
    /// ORB starts.
    static void BeginStop();
    /// Refuse new requests with TRANSIENT from here on. Does nothing without a running ORB.
    static void Discard();
    /// Stop the ORB. Wait at most 10 s for calls in progress to end and for the worker to return.
    /// Does nothing without an ORB.
    static void ShutDown();
    /// False while requests still run after a ShutDown that timed out. Nothing that requests use
    /// may then be destroyed.
    static bool HasLastRequestLeft();
    /// Destroy the ORB, after a ShutDown if it still runs. An ORB with calls in progress is not
    /// destroyed; this is traced. Does nothing without an ORB.
    static void Destroy();
};

}  // namespace NS_CORBA
