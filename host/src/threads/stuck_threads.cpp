#include "threads/stuck_threads.h"

#include <kelp/util/trace_log.h>

namespace kelp::host {

namespace {

constexpr std::size_t kWorkShownMax = 200;

}  // namespace

std::vector<std::string> stuckThreads(const std::vector<util::ThreadReport>& reports,
                                      std::chrono::steady_clock::time_point now) {
    std::vector<std::string> stuck;
    for (const util::ThreadReport& each : reports) {
        if (!each.isStuck(now))
            continue;
        const auto seconds = std::chrono::floor<std::chrono::seconds>(now - each.since);
        stuck.push_back("thread " + std::to_string(each.id) + " " +
                        util::escaped(each.what, kWorkShownMax) + " for " +
                        std::to_string(seconds.count()) + " s");
    }
    return stuck;
}

std::vector<std::string> stuckThreads() {
    return stuckThreads(util::threadReports(), std::chrono::steady_clock::now());
}

std::vector<admin::Condition> threadConditions() {
    std::vector<admin::Condition> all;
    for (const std::string& each : stuckThreads())
        all.push_back({"thread-stuck", admin::Severity::Critical, each, std::nullopt,
                       "make a kelpctl support-bundle, then restart the host; under systemd the "
                       "watchdog restarts it"});
    return all;
}

}  // namespace kelp::host
