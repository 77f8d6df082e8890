#include "admin/known_requests.h"

namespace kelp::host {

admin::Json tellRequests(const admin::Json&) {
    admin::Json all = admin::Json::array();
    for (const admin::KnownRequest& each : admin::Registry::instance().known())
        all.push_back(
            {{"method", each.method}, {"path", each.path}, {"parameters", each.parameters}});
    return {{"requests", all}};
}

}  // namespace kelp::host
