#pragma once

#include <kelp/admin/metrics.h>

#include <string>
#include <vector>

namespace kelp::host {

/// The type of metricsText().
inline constexpr const char* kMetricsType = "text/plain; version=0.0.4; charset=utf-8";

/// The metrics in Prometheus' text format. A metric that several parts return is one with the
/// values of all.
std::string metricsText(const std::vector<admin::Metric>& metrics);

}  // namespace kelp::host
