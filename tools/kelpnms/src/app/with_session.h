#pragma once

#include <kelp/nms/session.h>

#include <functional>

#include "app/command.h"

namespace kelp::nms {

/// Log in, call `use`, and log out. `use` returns the exit code, which is returned. Throws
/// NmsError.
int withSession(const CommandContext& context, const std::function<int(NmsSession&)>& use);

}  // namespace kelp::nms
