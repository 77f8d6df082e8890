#include <ace/Thread_Manager.h>
#include <kelp/appmgr/task_mgr.h>
#include <kelp/util/mutex.h>
#include <kelp/util/stopping.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>
#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <deque>
#include <string>
#include <utility>

namespace {

using kelp::util::LockRank;
using kelp::util::Mutex;
using kelp::util::MutexLock;

/// Maximum number of queued items. More would wait longer than anybody wants, so Post refuses them.
constexpr std::size_t kQueueMax = 10000;

}  // namespace

struct KelpGnlTaskMgr::State : std::enable_shared_from_this<KelpGnlTaskMgr::State> {
    State(ACE_Thread_Manager* manager, int typeNumber, int workers)
        : threads(manager != nullptr ? manager : ACE_Thread_Manager::instance()),
          type(typeNumber),
          workersWanted(std::max(workers, 1)) {}

    ACE_Thread_Manager* const threads;
    const int type;
    const int workersWanted;

    /// Not held while work runs or is destroyed.
    mutable Mutex mutex{LockRank::Service, "KelpGnlTaskMgr::mutex"};
    kelp::util::ConditionVariable changed;
    std::deque<Work> queue KELP_GUARDED_BY(mutex);
    std::size_t dropped KELP_GUARDED_BY(mutex) = 0;
    int group KELP_GUARDED_BY(mutex) = -1;  ///< the ACE group of the workers
    int workersRunning KELP_GUARDED_BY(mutex) = 0;
    bool started KELP_GUARDED_BY(mutex) = false;
    bool ending KELP_GUARDED_BY(mutex) = false;
    /// end() has stopped waiting for work in progress.
    bool isLeftRunning KELP_GUARDED_BY(mutex) = false;

    bool spawnWorker() KELP_EXCLUDES(mutex);
    void serve() KELP_EXCLUDES(mutex);
    void run(const Work& work) const KELP_EXCLUDES(mutex);
    void end() KELP_EXCLUDES(mutex);
    bool waitForWorkers() KELP_REQUIRES(mutex);

    static ACE_THR_FUNC_RETURN threadBody(void* argument);
};

namespace {

/// The State whose worker the calling thread is; null for other threads.
thread_local const void* workerOf = nullptr;

}  // namespace

ACE_THR_FUNC_RETURN KelpGnlTaskMgr::State::threadBody(void* argument) {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    const std::unique_ptr<std::shared_ptr<State>> state(
        static_cast<std::shared_ptr<State>*>(argument));
    workerOf = state->get();
    (*state)->serve();
    return nullptr;
}

bool KelpGnlTaskMgr::State::spawnWorker() {
    // The thread shares ownership of the state, because work may end its own task manager.
    auto argument = std::make_unique<std::shared_ptr<State>>(shared_from_this());
    const MutexLock lock(mutex);
    const int spawned =
        threads->spawn(&State::threadBody, argument.get(), THR_NEW_LWP | THR_JOINABLE, nullptr,
                       nullptr, ACE_DEFAULT_THREAD_PRIORITY, group);
    if (spawned == -1)
        return false;
    static_cast<void>(argument.release());
    group = spawned;
    ++workersRunning;
    return true;
}

void KelpGnlTaskMgr::State::serve() {
    MutexLock lock(mutex);
    while (!ending) {
        if (queue.empty()) {
            changed.wait(mutex);
            continue;
        }
        {
            const Work work = std::move(queue.front());
            queue.pop_front();
            lock.unlock();
            run(work);
        }  // destroys the work before the mutex is locked again
        lock.lock();
    }
    --workersRunning;
    changed.notify_all();
}

void KelpGnlTaskMgr::State::run(const Work& work) const {
    try {
        work();
    } catch (...) {
        kelp::util::traceFrom("kelpgnltaskmgr",
                              "work of task manager " + std::to_string(type) +
                                  " threw: " + kelp::util::currentExceptionText(),
                              kelp::util::TraceKind::Exception);
    }
}

void KelpGnlTaskMgr::State::end() {
    std::deque<Work> unfinished;
    {
        const MutexLock lock(mutex);
        ending = true;
        unfinished.swap(queue);
        dropped += unfinished.size();
        changed.notify_all();
    }
    if (!unfinished.empty()) {
        kelp::util::traceFrom("kelpgnltaskmgr", "task manager " + std::to_string(type) + " drops " +
                                                    std::to_string(unfinished.size()) +
                                                    " tasks at its end");
    }
    unfinished.clear();
    if (workerOf == this)
        return;
    int workers = -1;
    {
        const MutexLock lock(mutex);
        if (isLeftRunning)
            return;
        if (!waitForWorkers()) {
            // the workers share ownership of this state, so they may continue
            isLeftRunning = true;
            kelp::util::leaveRunning("work of task manager " + std::to_string(type));
            return;
        }
        workers = std::exchange(group, -1);
    }
    // Wait also for the last instructions of the workers.
    if (workers != -1)
        threads->wait_grp(workers);
}

/// Wait until no worker runs. Returns false if the process stops and one runs for too long.
bool KelpGnlTaskMgr::State::waitForWorkers() {
    kelp::util::StopAwareWait wait;
    while (workersRunning > 0) {
        if (!wait.next(changed, mutex))
            return false;
    }
    return true;
}

KelpGnlTaskMgr::KelpGnlTaskMgr(KelpAppMgr*, ACE_Thread_Manager* threads, int type, int workers)
    : state_(std::make_shared<State>(threads, type, workers)) {}

KelpGnlTaskMgr::~KelpGnlTaskMgr() {
    state_->end();
}

int KelpGnlTaskMgr::InitEnv() {
    {
        const MutexLock lock(state_->mutex);
        if (state_->ending || std::exchange(state_->started, true))
            return -1;
    }
    for (int i = 0; i < state_->workersWanted; ++i) {
        if (!state_->spawnWorker()) {
            kelp::util::traceFrom("kelpgnltaskmgr", "task manager " + std::to_string(state_->type) +
                                                        " has no thread for its worker");
            state_->end();
            return -1;
        }
    }
    return 0;
}

bool KelpGnlTaskMgr::Post(Work work) {
    const MutexLock lock(state_->mutex);
    if (!work || state_->ending || state_->queue.size() >= kQueueMax)
        return false;
    state_->queue.push_back(std::move(work));
    state_->changed.notify_one();
    return true;
}

void KelpGnlTaskMgr::Exit() {
    state_->end();
}

int KelpGnlTaskMgr::Type() const {
    return state_->type;
}

std::size_t KelpGnlTaskMgr::Dropped() const {
    const MutexLock lock(state_->mutex);
    return state_->dropped;
}
