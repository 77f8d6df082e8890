#include <kelp/corbabase/asyn_notify_mgr.h>
#include <kelp/corbabase/lazy_instance.h>
#include <kelp/corbabase/trace.h>
#include <kelp/util/mutex.h>
#include <kelp/util/stopping.h>

#include <deque>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;
using kelp::util::MutexUnlock;

constinit LazyInstance<AsynNotifyMgr> theInstance;

// Tasks are rare: 1000 waiting ones mean that something hangs.
constexpr std::size_t kQueueMax = 1000;
constexpr int kWorkers = 2;

void runTask(const std::function<void()>& task) {
    tracePoint("asynnotifymgr");
    try {
        task();
    } catch (const CORBA::Exception& failure) {
        TaException(failure, "[AsynNotifyMgr] A task failed!");
    } catch (const std::exception& failure) {
        TaTrace("[AsynNotifyMgr] A task failed! %s", failure.what());
    } catch (...) {
        TaTrace("[AsynNotifyMgr] A task failed with an exception of unknown type!");
    }
}

}  // namespace

struct AsynNotifyMgr::State {
    kelp::util::Mutex mutex{kelp::util::LockRank::Leaf, "AsynNotifyMgr::State::mutex"};
    kelp::util::ConditionVariable wake;
    std::deque<std::function<void()>> queue KELP_GUARDED_BY(mutex);
    bool running KELP_GUARDED_BY(mutex) = false;
    std::uint64_t finished KELP_GUARDED_BY(mutex) = 0;
    std::uint64_t dropped KELP_GUARDED_BY(mutex) = 0;
    int working KELP_GUARDED_BY(mutex) = 0;  // workers that still run
    kelp::util::ConditionVariable ended;     // signalled when a worker ends
    std::vector<std::thread> workers;        // used by Init and ExitThread only

    void work() KELP_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        for (;;) {
            while (running && queue.empty())
                wake.wait(mutex);
            if (!running)
                break;
            std::function<void()> task = std::move(queue.front());
            queue.pop_front();
            {
                const MutexUnlock unlocked(mutex);
                // also destroyed without the lock: a task may own anything
                runTask(std::exchange(task, nullptr));
            }
            ++finished;
        }
        --working;
        ended.notify_all();
    }
    void addWorker(std::shared_ptr<State> self) KELP_EXCLUDES(mutex) {
        const MutexLock guard(mutex);
        workers.emplace_back([state = std::move(self)] { state->work(); });
        ++working;
    }
    /// Wait for the workers. While the process stops, a worker whose task does not end in time is
    /// detached.
    void awaitWorkers() KELP_EXCLUDES(mutex) {
        const bool haveEnded = awaitEnds();
        if (!haveEnded)
            kelp::util::leaveRunning("a task of the notification manager");
        for (std::thread& worker : workers)
            haveEnded ? worker.join() : worker.detach();
        workers.clear();
    }

  private:
    /// False when the process stops and a worker has not ended in time.
    bool awaitEnds() KELP_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        kelp::util::StopAwareWait wait;
        while (working != 0)
            if (!wait.next(ended, mutex))
                return false;
        return true;
    }
};

AsynNotifyMgr::AsynNotifyMgr() : state_(std::make_shared<State>()) {}

AsynNotifyMgr::~AsynNotifyMgr() {
    ExitThread();
}

AsynNotifyMgr* AsynNotifyMgr::Instance() {
    return theInstance.get([] { return new AsynNotifyMgr; });
}

void AsynNotifyMgr::Destroy() {
    theInstance.destroy([](AsynNotifyMgr* instance) { delete instance; });
}

bool AsynNotifyMgr::Init() {
    {
        const MutexLock guard(state_->mutex);
        if (state_->running)
            return true;
        state_->running = true;
    }
    try {
        for (int i = 0; i < kWorkers; ++i)
            state_->addWorker(state_);
    } catch (const std::system_error& failure) {
        tracePoint("asynnotifymgr");
        TaTrace("[AsynNotifyMgr::Init] Cannot start a worker thread: %s", failure.what());
        ExitThread();
        return false;
    }
    return true;
}

bool AsynNotifyMgr::Post(std::function<void()> task) {
    {
        const MutexLock guard(state_->mutex);
        if (!state_->running || state_->queue.size() >= kQueueMax)
            return false;
        state_->queue.push_back(std::move(task));
    }
    state_->wake.notify_one();
    return true;
}

void AsynNotifyMgr::ExitThread() {
    // destroyed without the lock, because a task may own anything
    std::deque<std::function<void()>> rest;
    {
        const MutexLock guard(state_->mutex);
        state_->running = false;
        rest.swap(state_->queue);
        state_->dropped += rest.size();
    }
    state_->wake.notify_all();
    state_->awaitWorkers();
}

std::uint64_t AsynNotifyMgr::Finished() const {
    const MutexLock guard(state_->mutex);
    return state_->finished;
}

std::uint64_t AsynNotifyMgr::Dropped() const {
    const MutexLock guard(state_->mutex);
    return state_->dropped;
}

}  // namespace NS_CORBA
