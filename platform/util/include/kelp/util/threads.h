#pragma once

#include <kelp/util/export.h>

#include <functional>
#include <string>
#include <thread>

namespace kelp::util {

/// Starts a thread for the platform's own work: named `name` (cut at 15 bytes, as the kernel keeps
/// it) and with all signals blocked, so that they reach the host's thread. Throws std::system_error
/// when there is none to be had.
KELP_EXPORT std::thread startThread(const std::string& name, std::function<void()> body);

/// The exception that is being handled, in words: what() of a standard one, otherwise its type's
/// name. For catch clauses that trace and go on.
KELP_EXPORT std::string currentExceptionText();

}  // namespace kelp::util
