#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/orb.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "orb/start_barrier.h"

namespace NS_CORBA {

/// The process's ORB from start to destruction. CorbaBaseAgentConfig starts it; AgentServer serves
/// and ends it. Any thread may call it. Never destroyed, because ORB threads may outlive main.
class OrbLife {
  public:
    static OrbLife& instance();

    enum class Stage { None, Running, ShuttingDown, ShutDown };

    Stage stage() const;
    /// Start an ORB if there is none. Its requests pass `barrier`, which is borrowed and must
    /// outlive the process's requests. Throws CORBA::SystemException.
    void start(const kelp::orb::OrbOptions& options, unsigned threads, StartBarrier& barrier)
        KELP_EXCLUDES(startMutex_);
    /// Return a new duplicate, which the caller owns; nil without an ORB.
    CORBA::ORB_ptr orb() const;
    PortableServer::POA_ptr rootPoa() const;
    /// Let callers through the barrier, or refuse them. Does nothing before the first start.
    void admit();
    void refuse();

    /// Thread body: serve until shutdown() or the ORB's end.
    void serve();
    /// Stop the ORB and wait at most `limit` until calls in progress have ended and all serve()
    /// have returned. False on time-out; the shutdown then continues in the background.
    bool shutdown(std::chrono::milliseconds limit);
    /// Destroy the ORB if its shutdown has finished. False when there is an ORB whose shutdown has
    /// not.
    bool destroy() KELP_EXCLUDES(startMutex_);
    /// Drop the references to the ORB and the root POA.
    void release() KELP_EXCLUDES(mutex_);

    OrbLife(const OrbLife&) = delete;
    OrbLife& operator=(const OrbLife&) = delete;

  private:
    /// One ORB. Shared, so that a shutdown that never ends still finds it after release().
    struct Run {
        CORBA::ORB_var orb;
        PortableServer::POA_var rootPoa;
        unsigned threads = 0;
        kelp::util::Mutex mutex{kelp::util::LockRank::Leaf, "OrbLife::Run::mutex"};
        kelp::util::ConditionVariable changed;
        bool stopping KELP_GUARDED_BY(mutex) = false;
        bool callsEnded KELP_GUARDED_BY(mutex) = false;
        int workers KELP_GUARDED_BY(mutex) = 0;
        // Runs endCalls(). Joined by destroy(), detached when the calls never end.
        std::thread ending;
        bool isOver() const KELP_REQUIRES(mutex) { return callsEnded && workers == 0; }
        ~Run() {
            if (ending.joinable())
                ending.detach();
        }
    };

    OrbLife() = default;
    std::shared_ptr<Run> run() const KELP_EXCLUDES(mutex_);
    static void endCalls(const std::shared_ptr<Run>& run);

    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Service, "OrbLife::mutex_"};
    std::shared_ptr<Run> run_ KELP_GUARDED_BY(mutex_);
    /// Held for a whole start or destroy.
    kelp::util::Mutex startMutex_{kelp::util::LockRank::OrbControl, "OrbLife::startMutex_"};
    /// The barrier of the ORB started last; null before the first start.
    std::atomic<StartBarrier*> barrier_{nullptr};
};

}  // namespace NS_CORBA
