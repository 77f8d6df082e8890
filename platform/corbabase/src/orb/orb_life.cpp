#include "orb/orb_life.h"

#include <kelp/corbabase/trace.h>
#include <kelp/orb/timeouts.h>
#include <kelp/util/stopping.h>

#include <system_error>
#include <thread>

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;

constexpr const char* kFile = "orblife";

}  // namespace

OrbLife& OrbLife::instance() {
    static OrbLife* const life = new OrbLife;
    return *life;
}

std::shared_ptr<OrbLife::Run> OrbLife::run() const {
    const MutexLock guard(mutex_);
    return run_;
}

OrbLife::Stage OrbLife::stage() const {
    const std::shared_ptr<Run> current = run();
    if (!current)
        return Stage::None;
    const MutexLock guard(current->mutex);
    if (!current->stopping)
        return Stage::Running;
    return current->isOver() ? Stage::ShutDown : Stage::ShuttingDown;
}

void OrbLife::start(const kelp::orb::OrbOptions& options, unsigned threads, StartBarrier& barrier) {
    const MutexLock one(startMutex_);
    if (run())
        return;
    barrier.reset();
    barrier_ = &barrier;
    kelp::util::endStop();
    const auto made = std::make_shared<Run>();
    made->orb = kelp::orb::start(options, &barrier);
    const CORBA::Object_var object = made->orb->resolve_initial_references("RootPOA");
    made->rootPoa = PortableServer::POA::_narrow(object.in());
    made->threads = threads;
    const MutexLock guard(mutex_);
    run_ = made;
}

CORBA::ORB_ptr OrbLife::orb() const {
    const std::shared_ptr<Run> current = run();
    return current ? CORBA::ORB::_duplicate(current->orb.in()) : CORBA::ORB::_nil();
}

PortableServer::POA_ptr OrbLife::rootPoa() const {
    const std::shared_ptr<Run> current = run();
    return current ? PortableServer::POA::_duplicate(current->rootPoa.in())
                   : PortableServer::POA::_nil();
}

void OrbLife::admit() {
    if (StartBarrier* const barrier = barrier_)
        barrier->admit();
}

void OrbLife::refuse() {
    if (StartBarrier* const barrier = barrier_)
        barrier->refuse();
}

void OrbLife::serve() {
    const std::shared_ptr<Run> current = run();
    if (!current)
        return;
    {
        const MutexLock guard(current->mutex);
        if (current->stopping)
            return;
        ++current->workers;
    }
    try {
        kelp::orb::serve(current->orb.in(), current->threads);
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, "[AgentServer::AgentWorker] The ORB stopped serving!");
    }
    const MutexLock guard(current->mutex);
    --current->workers;
    current->changed.notify_all();
}

bool OrbLife::shutdown(std::chrono::milliseconds limit) {
    refuse();
    const std::shared_ptr<Run> current = run();
    if (!current)
        return true;
    MutexLock lock(current->mutex);
    if (!current->stopping) {
        current->stopping = true;
        lock.unlock();
        // the shutdown waits on a separate thread, because a call that never returns would block it
        // for ever
        try {
            current->ending = std::thread(endCalls, current);
        } catch (const std::system_error& failure) {
            tracePoint(kFile);
            TaTrace("[AgentServer::ShutDown] No thread to wait for the calls in progress: %s",
                    failure.what());
            endCalls(current);
        }
        lock.lock();
    }
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!current->isOver() && std::chrono::steady_clock::now() < end)
        current->changed.wait_until(current->mutex, end);
    return current->isOver();
}

void OrbLife::endCalls(const std::shared_ptr<Run>& current) {
    try {
        current->orb->shutdown(true);
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, "[AgentServer::ShutDown] The ORB refused to shut down!");
    }
    const MutexLock guard(current->mutex);
    current->callsEnded = true;
    current->changed.notify_all();
}

bool OrbLife::destroy() {
    const MutexLock one(startMutex_);
    const std::shared_ptr<Run> current = run();
    if (!current)
        return true;
    if (stage() != Stage::ShutDown)
        return false;
    // the thread has finished its work; unless joined, it might release the ORB while the process
    // ends
    if (current->ending.joinable())
        current->ending.join();
    try {
        current->orb->destroy();
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, "[AgentServer::Destroy] The ORB could not be destroyed!");
    }
    kelp::orb::liftCallLimit();
    release();
    return true;
}

void OrbLife::release() {
    std::shared_ptr<Run> released;  // destroyed, with its references, after the lock is released
    const MutexLock guard(mutex_);
    released.swap(run_);
}

}  // namespace NS_CORBA
