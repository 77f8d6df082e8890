#include "app/log_out.h"

namespace kelp::nms {

void logOut(NmsSession& session, std::chrono::milliseconds limit, Report& report) {
    session.end();
    if (session.isGone(limit))
        report.step("logged out");
    else
        report.step("log-out sent, but the EMS still knows the session");
}

}  // namespace kelp::nms
