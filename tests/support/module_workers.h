#pragma once

#include <kelp/appmgr/task_mgr.h>

#include <memory>
#include <stdexcept>

#include "util/task_mgr_type.h"

namespace kelp::test {

/// The module's task manager with its workers, which in the host the module's entry starts. As in
/// the host, its work ends before the agent.
class ModuleWorkers {
  public:
    ModuleWorkers() {
        auto workers = std::make_unique<KelpGnlTaskMgr>(KelpAppMgr::Instance(), nullptr,
                                                        NS_KELPCORBA::kModuleTaskMgrType, 2);
        if (workers->InitEnv() != 0)
            throw std::runtime_error("no workers");
        KelpAppMgr::Instance()->TMDynInsertTaskMgr(workers.release());
    }
    ~ModuleWorkers() { KelpAppMgr::Instance()->Exit(); }
    ModuleWorkers(const ModuleWorkers&) = delete;
    ModuleWorkers& operator=(const ModuleWorkers&) = delete;
};

}  // namespace kelp::test
