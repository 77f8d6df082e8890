#include "admin/status_request.h"

#include <kelp/admin/conditions.h>
#include <kelp/oplog/log_entry.h>

#include <chrono>
#include <string>
#include <vector>

namespace kelp::host {

namespace {

using admin::Condition;

std::string summaryOf(const std::vector<Condition>& all) {
    if (all.empty())
        return "all is well";
    const std::string& worst = all.front().sentence;
    if (all.size() == 1)
        return worst;
    return worst + " (and " + std::to_string(all.size() - 1) + " more)";
}

std::string sinceOf(const Condition& condition) {
    return condition.since
               ? oplog::timeText(std::chrono::floor<std::chrono::milliseconds>(*condition.since))
               : "";
}

}  // namespace

admin::Json tellStatus(const admin::Json&) {
    const std::vector<Condition> all = admin::Conditions::instance().current();
    admin::Json conditions = admin::Json::array();
    for (const Condition& each : all)
        conditions.push_back({{"word", each.word},
                              {"severity", admin::nameOf(each.severity)},
                              {"sentence", each.sentence},
                              {"since", sinceOf(each)},
                              {"advice", each.advice}});
    return {{"severity", all.empty() ? "ok" : admin::nameOf(all.front().severity)},
            {"summary", summaryOf(all)},
            {"conditions", conditions}};
}

}  // namespace kelp::host
