#include "threads/thread_requests.h"

#include <kelp/util/thread_work.h>
#include <kelp/util/trace_log.h>

#include <chrono>
#include <map>
#include <utility>

#include "threads/kernel_threads.h"

namespace kelp::host {

namespace {

constexpr std::size_t kTextShownMax = 200;

}  // namespace

admin::Json tellThreads(const admin::Json&) {
    const auto now = std::chrono::steady_clock::now();
    std::map<int, util::ThreadReport> reports;
    for (util::ThreadReport& each : util::threadReports())
        reports[each.id] = std::move(each);
    admin::Json threads = admin::Json::array();
    for (const KernelThread& each : kernelThreads()) {
        const util::ThreadReport& report = reports[each.id];
        const bool works = !report.what.empty();
        const std::chrono::duration<double> busy =
            works ? now - report.since : std::chrono::steady_clock::duration::zero();
        threads.push_back({{"id", each.id},
                           {"name", util::escaped(each.name, kTextShownMax)},
                           {"state", each.state},
                           {"processorSeconds", each.processorSeconds},
                           {"work", util::escaped(report.what, kTextShownMax)},
                           {"detail", works ? util::escaped(report.detail, kTextShownMax) : ""},
                           {"busySeconds", busy.count()},
                           {"stuck", report.isStuck(now)}});
    }
    return {{"threads", threads}};
}

}  // namespace kelp::host
