#pragma once

#include <kelp/nms/session.h>

#include <chrono>

#include "app/report.h"

namespace kelp::nms {

/// End the session and wait, at most `limit`, until the EMS no longer knows it. Throws NmsError.
void logOut(NmsSession& session, std::chrono::milliseconds limit, Report& report);

}  // namespace kelp::nms
