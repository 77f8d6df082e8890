#include "admin/known_requests.h"

namespace kelp::host {

admin::Json tellRequests(const admin::Json&) {
    admin::Json all = admin::Json::array();
    for (const admin::KnownRequest& each : admin::Registry::instance().known())
        all.push_back(
            {{"method", each.method}, {"path", each.path}, {"parameters", each.parameters}});
    // the files of the status page, which need no handler
    for (const char* const path : {"/", "/page/*"})
        all.push_back({{"method", "GET"}, {"path", path}, {"parameters", admin::Json::array()}});
    return {{"requests", all}};
}

}  // namespace kelp::host
