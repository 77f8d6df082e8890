#include "admin/probe_requests.h"

#include <kelp/corbabase/naming_findings.h>

#include "naming_readiness.h"

namespace kelp::host {

admin::Json tellAlive(const admin::Json&) {
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
