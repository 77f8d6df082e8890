#include <kelp/appmgr/task_mgr.h>
#include <kelp/util/mutex.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace {

using kelp::util::LockRank;
using kelp::util::Mutex;
using kelp::util::MutexLock;

void endTaskMgr(std::unique_ptr<KelpTaskMgr> taskMgr) {
    const std::string name = "task manager " + std::to_string(taskMgr->Type());
    kelp::util::traceFrom("kelpappmgr", "end " + name);
    try {
        taskMgr->Exit();
    } catch (...) {
        kelp::util::traceFrom("kelpappmgr",
                              name + " threw at its end: " + kelp::util::currentExceptionText(),
                              kelp::util::TraceKind::Exception);
    }
}

}  // namespace

KelpTaskMgr::~KelpTaskMgr() = default;

struct KelpAppMgr::State {
    using TaskMgrs = std::vector<std::unique_ptr<KelpTaskMgr>>;

    /// Held while a task manager queues work, which locks its own mutex.
    Mutex mutex{LockRank::ServiceControl, "KelpAppMgr::mutex"};
    TaskMgrs taskMgrs KELP_GUARDED_BY(mutex);  ///< oldest first

    TaskMgrs::iterator find(int type) KELP_REQUIRES(mutex) {
        return std::find_if(
            taskMgrs.begin(), taskMgrs.end(),
            [&](const std::unique_ptr<KelpTaskMgr>& each) { return each->Type() == type; });
    }
    std::unique_ptr<KelpTaskMgr> take(TaskMgrs::iterator at) KELP_REQUIRES(mutex) {
        std::unique_ptr<KelpTaskMgr> taken = std::move(*at);
        taskMgrs.erase(at);
        return taken;
    }
    std::unique_ptr<KelpTaskMgr> takeNewest() KELP_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        return taskMgrs.empty() ? nullptr : take(std::prev(taskMgrs.end()));
    }
};

KelpAppMgr::KelpAppMgr() : state_(std::make_unique<State>()) {}
KelpAppMgr::~KelpAppMgr() = default;

KelpAppMgr* KelpAppMgr::Instance() {
    // Never destroyed: at exit a task manager that nobody ended must not be destroyed while its
    // threads run.
    static KelpAppMgr* const instance = new KelpAppMgr;
    return instance;
}

void KelpAppMgr::TMDynInsertTaskMgr(KelpTaskMgr* taskMgr) {
    if (taskMgr == nullptr) {
        kelp::util::traceFrom("kelpappmgr", "no task manager was handed over");
        return;
    }
    std::unique_ptr<KelpTaskMgr> replaced;
    {
        const MutexLock lock(state_->mutex);
        const auto same = state_->find(taskMgr->Type());
        if (same != state_->taskMgrs.end()) {
            if (same->get() == taskMgr)
                return;
            replaced = state_->take(same);
        }
        state_->taskMgrs.emplace_back(taskMgr);
    }
    if (replaced)
        endTaskMgr(std::move(replaced));
}

bool KelpAppMgr::Post(int type, KelpTaskMgr::Work work) {
    const MutexLock lock(state_->mutex);  // a task manager leaves the list before it ends
    const auto found = state_->find(type);
    return found != state_->taskMgrs.end() && (*found)->Post(std::move(work));
}

KelpTaskMgr* KelpAppMgr::Find(int type) const {
    const MutexLock lock(state_->mutex);
    const auto found = state_->find(type);
    return found == state_->taskMgrs.end() ? nullptr : found->get();
}

void KelpAppMgr::Exit() {
    while (std::unique_ptr<KelpTaskMgr> newest = state_->takeNewest())
        endTaskMgr(std::move(newest));
}
