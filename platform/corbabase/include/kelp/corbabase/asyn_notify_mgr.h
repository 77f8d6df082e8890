#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <functional>
#include <memory>

namespace NS_CORBA {

/// Long tasks of bundles whose end is told by an event: a bounded queue and worker threads.
class KELP_EXPORT AsynNotifyMgr {
  public:
    static AsynNotifyMgr* Instance();
    static void Destroy();
    bool Init();
    /// False when the queue is full or the manager is stopping (or was never started).
    bool Post(std::function<void()> task);
    /// Finishes what runs, drops the rest, counts both. While the process stops
    /// (kelp::util::isStopping) it waits a second at most, and leaves a task that goes on to
    /// itself.
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
