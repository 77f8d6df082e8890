#include <gmock/gmock.h>
#include <kelp/admin/metrics.h>

#include <stdexcept>

namespace kelp::admin {
namespace {

using testing::ElementsAre;

std::vector<std::string> namesIn(const std::vector<Metric>& metrics) {
    std::vector<std::string> names;
    for (const Metric& each : metrics)
        names.push_back(each.name);
    return names;
}

Metric gauge(const std::string& name, double value) {
    return {name, "A figure", MetricKind::Gauge, {{value}}};
}

TEST(Metrics, AreThoseOfAllSources) {
    Metrics metrics;
    const Registration one = metrics.enter("one", [] { return std::vector{gauge("kelp_a", 1)}; });
    Registration other = metrics.enter("other", [] {
        return std::vector{gauge("kelp_b", 2), gauge("kelp_c", 3)};
    });
    EXPECT_THAT(namesIn(metrics.current()),
                ElementsAre("kelp_a", "kelp_b", "kelp_c", "kelp_metrics_failed"));
    EXPECT_EQ(metrics.current()[1].samples.at(0).value, 2);
    other.leave();
    EXPECT_THAT(namesIn(metrics.current()), ElementsAre("kelp_a", "kelp_metrics_failed"));
    EXPECT_EQ(metrics.current().back().samples.at(0).value, 0);
}

TEST(Metrics, CountTheSourcesThatFail) {
    Metrics metrics;
    const Registration good = metrics.enter("good", [] { return std::vector{gauge("kelp_a", 1)}; });
    const Registration bad =
        metrics.enter("bad", []() -> std::vector<Metric> { throw std::runtime_error("gone"); });
    EXPECT_THAT(namesIn(metrics.current()), ElementsAre("kelp_a", "kelp_metrics_failed"));
    EXPECT_EQ(metrics.current().back().samples.at(0).value, 1);
}

TEST(Metrics, RefuseASecondSourceOfTheSameName) {
    Metrics metrics;
    const Registration one = metrics.enter("one", [] { return std::vector<Metric>(); });
    EXPECT_THROW((void)metrics.enter("one", [] { return std::vector<Metric>(); }),
                 std::invalid_argument);
}

}  // namespace
}  // namespace kelp::admin
