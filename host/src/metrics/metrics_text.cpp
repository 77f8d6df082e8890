#include "metrics/metrics_text.h"

#include <kelp/util/trace_log.h>
#include <prometheus/metric_family.h>
#include <prometheus/text_serializer.h>

#include <map>

namespace kelp::host {

namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;

constexpr std::size_t kLabelBytesMax = 200;

ClientMetric clientMetric(const admin::Sample& sample, admin::MetricKind kind) {
    ClientMetric metric;
    for (const auto& [name, value] : sample.labels)
        metric.label.push_back({name, util::escaped(value, kLabelBytesMax)});
    if (kind == admin::MetricKind::Counter)
        metric.counter.value = sample.value;
    else
        metric.gauge.value = sample.value;
    return metric;
}

}  // namespace

std::string metricsText(const std::vector<admin::Metric>& metrics) {
    std::map<std::string, MetricFamily> families;
    for (const admin::Metric& each : metrics) {
        MetricFamily& family = families[each.name];
        family.name = each.name;
        family.help = each.help;
        family.type = each.kind == admin::MetricKind::Counter ? prometheus::MetricType::Counter
                                                              : prometheus::MetricType::Gauge;
        for (const admin::Sample& sample : each.samples)
            family.metric.push_back(clientMetric(sample, each.kind));
    }
    std::vector<MetricFamily> all;
    all.reserve(families.size());
    for (auto& [name, family] : families)
        all.push_back(std::move(family));
    return prometheus::TextSerializer().Serialize(all);
}

}  // namespace kelp::host
