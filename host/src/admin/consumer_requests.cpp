#include "admin/consumer_requests.h"

#include <kelp/corbabase/supplier_mgr.h>

namespace kelp::host {

admin::Json tellConsumers(const admin::Json&) {
    admin::Json all = admin::Json::array();
    for (const notification::ConsumerCounts& each : NS_CORBA::SuppilerMgr::Instance()->Consumers())
        all.push_back({{"admin", each.admin},
                       {"proxy", each.proxy},
                       {"sent", each.sent},
                       {"delivered", each.delivered},
                       {"lost", each.lost},
                       {"lostByOwnLimits", each.lostByOwnLimits},
                       {"queued", each.queued},
                       {"queueLimit", each.queueLimit},
                       {"failures", each.failures},
                       {"answers", each.answers},
                       {"suspended", each.suspended},
                       {"oldestMs", each.oldest.count()},
                       {"lastError", each.lastError}});
    return {{"consumers", all}};
}

}  // namespace kelp::host
