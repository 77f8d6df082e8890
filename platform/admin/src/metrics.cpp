#include <kelp/admin/metrics.h>

#include <iterator>

namespace kelp::admin {

namespace {

constexpr const char* kAskForMetrics = "ASK";

/// Where the sources that this thread asks put their metrics. The registry calls a handler on the
/// thread of answer(), so thousands of values need not become JSON.
thread_local std::vector<Metric>* metricsAsked = nullptr;

}  // namespace

Metrics& Metrics::instance() {
    // Bundles that nobody stopped may leave after its destruction: a registration shares the state.
    static Metrics instance;
    return instance;
}

Registration Metrics::enter(const std::string& name, MetricSource source) {
    return sources_.enter(kAskForMetrics, "/" + name, [source = std::move(source)](const Json&) {
        std::vector<Metric> all = source();
        metricsAsked->insert(metricsAsked->end(), std::make_move_iterator(all.begin()),
                             std::make_move_iterator(all.end()));
        return Json();
    });
}

std::vector<Metric> Metrics::current() {
    std::vector<Metric> all;
    metricsAsked = &all;
    std::size_t failed = 0;
    for (const KnownRequest& each : sources_.known()) {
        const int status = sources_.answer(kAskForMetrics, each.path, {}).status;
        // one that has just left is not found
        failed += status != Answer().status && status != RequestError::kNotFound ? 1 : 0;
    }
    metricsAsked = nullptr;
    all.push_back({"kelp_metrics_failed",
                   "Parts of the host whose metrics could not be read, see the trace",
                   MetricKind::Gauge,
                   {{static_cast<double>(failed)}}});
    return all;
}

}  // namespace kelp::admin
