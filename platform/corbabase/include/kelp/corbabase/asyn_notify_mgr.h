#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace NS_CORBA {

/// Runs long tasks for bundles on 2 worker threads. A task announces its end itself, by an event.
/// At most 1000 tasks wait in the queue. Any thread may post tasks and read the counters. Init and
/// ExitThread are called by one thread at a time.
class KELP_EXPORT AsynNotifyMgr {
  public:
    static AsynNotifyMgr* Instance();
    static void Destroy();
    bool Init();
    /// Queue a task. False when the queue is full, before Init and after ExitThread.
    bool Post(std::function<void()> task);
    /// Finish the running tasks, drop the queued ones and count both. While the process stops
    /// (kelp::util::isStopping), wait at most 1 s and then let running tasks finish on their own.
    void ExitThread();
    std::uint64_t Finished() const;
    std::uint64_t Dropped() const;

    AsynNotifyMgr(const AsynNotifyMgr&) = delete;
    AsynNotifyMgr& operator=(const AsynNotifyMgr&) = delete;

  private:
    AsynNotifyMgr();
    ~AsynNotifyMgr();
    struct State;
    std::shared_ptr<State> state_;  ///< shared with the workers
};

}  // namespace NS_CORBA
