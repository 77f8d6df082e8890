#pragma once

#include <kelp/appmgr/task_mgr.h>

#include <deque>
#include <new>
#include <utility>

#include "util/task_mgr_type.h"

namespace kelp::test {

/// A task manager in place of the module's. The test itself does the posted work when it wants to.
class QueuedWork final : public KelpTaskMgr {
  public:
    QueuedWork() = default;
    int InitEnv() override { return 0; }
    bool Post(Work work) override {
        if (isFull)
            return false;
        if (isOutOfMemory)
            throw std::bad_alloc();
        queue_.push_back(std::move(work));
        return true;
    }
    void Exit() override { queue_.clear(); }
    int Type() const override { return NS_KELPCORBA::kModuleTaskMgrType; }

    std::size_t size() const { return queue_.size(); }
    /// Do the oldest work.
    void doOne() {
        const Work work = std::move(queue_.front());
        queue_.pop_front();
        work();
    }

    bool isFull = false;
    bool isOutOfMemory = false;

  private:
    std::deque<Work> queue_;
};

}  // namespace kelp::test
