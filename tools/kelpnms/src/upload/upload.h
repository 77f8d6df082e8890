#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/command.h"
#include "upload/network_task.h"
#include "upload/walk_progress.h"

namespace kelp::nms {

/// Makes the task that reads and writes. The progress outlives the task.
using MakeTask = std::function<std::shared_ptr<NetworkTask>(WalkProgress&)>;

/// Log in and run a task that reads and writes `content`, such as "ports". Returns the exit code.
/// Throws NmsError or CannotWrite. Throws std::invalid_argument when the element to begin with does
/// not exist.
int upload(const CommandContext& context, const std::string& content, const MakeTask& makeTask);

}  // namespace kelp::nms
