#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/orb.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "orb/interception_adapter.h"

namespace NS_CORBA {

/// The process's ORB from start to destruction: CorbaBaseAgentConfig starts it, AgentServer serves
/// and ends it. Callable from any thread. It is never destroyed, since ORB threads may outlive
/// main.
class OrbLife {
  public:
    static OrbLife& instance();

    enum class Stage { None, Running, ShuttingDown, ShutDown };

    Stage stage() const;
    /// Starts an ORB when there is none. Throws CORBA::SystemException.
    void start(const kelp::orb::OrbOptions& options, unsigned threads);
    /// New duplicates; nil without an ORB.
    CORBA::ORB_ptr orb() const;
    PortableServer::POA_ptr rootPoa() const;
    InterceptionAdapter& adapter() { return adapter_; }

    /// Thread body: serves until shutdown() or the ORB's end.
    void serve();
    /// Stops the ORB and waits until calls in progress have ended and serve() has returned
    /// everywhere, at most `limit`. False when that takes longer; it then goes on by itself.
    bool shutdown(std::chrono::milliseconds limit);
    /// Destroys an ORB whose shutdown has finished. False when there is one that has not.
    bool destroy();
    /// Forgets ORB and root POA.
    void release();

    OrbLife(const OrbLife&) = delete;
    OrbLife& operator=(const OrbLife&) = delete;

  private:
    /// One ORB. Its own object, so that a shutdown that never ends finds it even when it has been
    /// forgotten.
    struct Run {
        CORBA::ORB_var orb;
        PortableServer::POA_var rootPoa;
        unsigned threads = 0;
        std::mutex mutex;
        std::condition_variable changed;
        bool stopping = false;  // these three are guarded by mutex
        bool callsEnded = false;
        int workers = 0;
        std::thread
            ending;  // runs endCalls; joined by destroy(), left to itself when the calls never end
        ~Run() {
            if (ending.joinable())
                ending.detach();
        }
    };

    OrbLife() = default;
    std::shared_ptr<Run> run() const;
    static void endCalls(const std::shared_ptr<Run>& run);

    mutable std::mutex mutex_;
    std::shared_ptr<Run> run_;  // guarded by mutex_
    std::mutex startMutex_;     // one start or end at a time; outside mutex_
    InterceptionAdapter adapter_;
};

}  // namespace NS_CORBA
