#pragma once

#include <kelp/util/export.h>

#include <functional>
#include <string>
#include <thread>

namespace kelp::util {

/// Start a thread for the platform's internal work. The kernel truncates `name` at 15 bytes. All
/// signals are blocked, so that the host's thread receives them. Throws std::system_error if no
/// thread can be created.
KELP_EXPORT std::thread startThread(const std::string& name, std::function<void()> body);

/// Describe the exception that is being handled: what() of a standard exception, otherwise the name
/// of its type. For catch clauses that trace and continue.
KELP_EXPORT std::string currentExceptionText();

}  // namespace kelp::util
