#pragma once

#include <kelp/admin/registry.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kelp::admin {

/// One value of a metric. The labels tell the values of a metric apart; each value has the same
/// names of labels. Texts of peers must be escaped and bounded.
struct KELP_EXPORT Sample {
    double value = 0;
    std::vector<std::pair<std::string, std::string>> labels{};
};

enum class MetricKind : std::uint8_t {
    Gauge,    ///< may rise and fall
    Counter,  ///< only rises until the process ends; its name ends in "_total"
};

/// A figure for the supervision of this process, in the terms of Prometheus: base units (seconds,
/// bytes), names in snake case that begin with "kelp_".
struct KELP_EXPORT Metric {
    std::string name;
    std::string help;  ///< one sentence without a full stop
    MetricKind kind = MetricKind::Gauge;
    std::vector<Sample> samples{};
};

/// Returns metrics as they are now. Called on threads of the operator's interface, possibly several
/// at a time.
using MetricSource = std::function<std::vector<Metric>()>;

/// The sources of metrics: each part of the process enters its own. There is one object for the
/// process. Any thread may call it.
class KELP_EXPORT Metrics {
  public:
    static Metrics& instance();

    /// Ask `source` until the registration ends. Throws std::invalid_argument if the name is taken.
    [[nodiscard]] Registration enter(const std::string& name, MetricSource source);

    /// The metrics of all sources, and kelp_metrics_failed, which counts the sources that threw.
    std::vector<Metric> current();

  private:
    Registry sources_;  ///< each source answers one request
};

}  // namespace kelp::admin
