#include "admin/probe_requests.h"

#include <kelp/corbabase/naming_findings.h>

#include <string>
#include <vector>

#include "naming_readiness.h"
#include "threads/stuck_threads.h"

namespace kelp::host {

admin::Json tellAlive(const admin::Json&) {
    if (const std::vector<std::string> stuck = stuckThreads(); !stuck.empty())
        throw admin::RequestError(stuck.front(), admin::RequestError::kUnavailable);
    return {{"status", "ok"}};
}

admin::Json tellReadiness(const admin::Json&) {
    const NS_CORBA::NamingEntryState entry = NS_CORBA::NamingFindings::Instance().State();
    if (!entry.isBound)
        throw admin::RequestError("the session factory is not registered: " + whyNotBound(entry),
                                  admin::RequestError::kUnavailable);
    return {{"status", "ready"}};
}

}  // namespace kelp::host
