#pragma once

#include <kelp/admin/conditions.h>
#include <kelp/util/thread_work.h>

#include <chrono>
#include <string>
#include <vector>

namespace kelp::host {

/// Describe each thread of `reports` that is stuck at `now`, such as "thread 17 checks the accounts
/// for 130 s".
std::vector<std::string> stuckThreads(const std::vector<util::ThreadReport>& reports,
                                      std::chrono::steady_clock::time_point now);
/// As above, of this process at this moment.
std::vector<std::string> stuckThreads();

/// The conditions of threads that are stuck.
std::vector<admin::Condition> threadConditions();

}  // namespace kelp::host
