#pragma once

#include <kelp/nms/session.h>

#include <chrono>

#include "app/report.h"

namespace kelp::nms {

/// Ends the session and waits, at most `limit`, until the EMS no longer knows it. Throws NmsError.
void logOut(NmsSession& session, std::chrono::milliseconds limit, Report& report);

}  // namespace kelp::nms
