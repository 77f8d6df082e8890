#include "metrics/host_metrics.h"

#include <kelp/admin/conditions.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/naming_findings.h>
#include <kelp/corbabase/supplier_mgr.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <utility>

#include "certificate_watch.h"

namespace kelp::host {

namespace {

using admin::Metric;
using admin::MetricKind;
using admin::Sample;
using NS_BUNDLEMGR1::ConfigStore;
using std::chrono::system_clock;

double numberOf(std::uint64_t count) {
    return static_cast<double>(count);
}

std::vector<Metric> buildMetrics() {
    return {{"kelp_build_info",
             "Always 1, with the version of the host",
             MetricKind::Gauge,
             {{1, {{"version", KELP_VERSION}}}}}};
}

std::vector<Metric> logMetrics() {
    Metric records{"kelp_log_records_total", "Records of the logs, by what became of them",
                   MetricKind::Counter};
    Metric waiting{"kelp_log_records_waiting", "Records that wait to be written"};
    Metric failing{"kelp_log_failing", "1 while a log cannot be written"};
    const auto add = [&](const char* log, const oplog::LogCounts& counts) {
        records.samples.push_back(
            {numberOf(counts.written), {{"log", log}, {"outcome", "written"}}});
        records.samples.push_back(
            {numberOf(counts.missing), {{"log", log}, {"outcome", "missing"}}});
        waiting.samples.push_back({numberOf(counts.waiting), {{"log", log}}});
        failing.samples.push_back({counts.fails ? 1.0 : 0.0, {{"log", log}}});
    };
    const NS_CORBA::AuditTrail& trail = NS_CORBA::AuditTrail::Instance();
    add("operations", trail.OperationCounts());
    add("security", trail.SecurityCounts());
    return {std::move(records), std::move(waiting), std::move(failing)};
}

std::vector<Metric> securityMetrics() {
    Metric logIns{"kelp_log_ins_total", "Log-ins of NMS, by outcome", MetricKind::Counter};
    Metric refusals{"kelp_refusals_total", "Refusals other than of log-ins, by kind",
                    MetricKind::Counter};
    for (const auto& each : NS_CORBA::AuditTrail::Instance().EventCounts()) {
        if (each.event == oplog::SecurityEvent::LogIn) {
            logIns.samples.push_back({numberOf(each.ok), {{"outcome", "ok"}}});
            logIns.samples.push_back({numberOf(each.refused), {{"outcome", "refused"}}});
        } else {
            refusals.samples.push_back(
                {numberOf(each.refused), {{"kind", oplog::textOf(each.event)}}});
        }
    }
    return {std::move(logIns), std::move(refusals)};
}

std::vector<Metric> namingMetrics() {
    const NS_CORBA::NamingEntryState entry = NS_CORBA::NamingFindings::Instance().State();
    return {{"kelp_naming_registered",
             "1 while NMS can find the session factory",
             MetricKind::Gauge,
             {{entry.isBound ? 1.0 : 0.0}}},
            {"kelp_naming_replaced_total",
             "Foreign entries of the factory that were replaced",
             MetricKind::Counter,
             {{numberOf(entry.replaced)}}}};
}

std::vector<Metric> consumerMetrics() {
    double silent = 0;
    double oldest = 0;
    std::uint64_t queued = 0;
    const auto consumers = NS_CORBA::SuppilerMgr::Instance()->Consumers();
    for (const auto& each : consumers) {
        silent += each.answers ? 0 : 1;
        oldest = std::max(oldest, std::chrono::duration<double>(each.oldest).count());
        queued += each.queued;
    }
    return {
        {"kelp_consumers",
         "Consumers of the notification channel",
         MetricKind::Gauge,
         {{numberOf(consumers.size())}}},
        {"kelp_consumers_silent", "Consumers that do not answer", MetricKind::Gauge, {{silent}}},
        {"kelp_events_queued",
         "Events that wait for all consumers",
         MetricKind::Gauge,
         {{numberOf(queued)}}},
        {"kelp_oldest_event_seconds",
         "Age of the oldest event that waits for a consumer",
         MetricKind::Gauge,
         {{oldest}}}};
}

std::vector<Metric> certificateMetrics() {
    const ConfigStore& config = ConfigStore::instance();
    const std::filesystem::path file = config.text("tls.certificate");
    if (config.integer("tls.mode") == 0 || file.empty())
        return {};
    const auto end = certificateEnd(file);
    if (!end)
        return {};
    using Days = std::chrono::duration<double, std::ratio<86400>>;
    return {{"kelp_certificate_days_left",
             "Days until the EMS's certificate expires",
             MetricKind::Gauge,
             {{Days(*end - system_clock::now()).count()}}}};
}

std::vector<Metric> conditionMetrics() {
    std::array<double, 3> counts{};
    for (const admin::Condition& each : admin::Conditions::instance().current())
        counts.at(static_cast<std::size_t>(each.severity)) += 1;
    Metric metric{"kelp_conditions", "What kelpctl status shows, by severity"};
    for (std::size_t i = 0; i < counts.size(); ++i)
        metric.samples.push_back(
            {counts.at(i), {{"severity", admin::nameOf(static_cast<admin::Severity>(i))}}});
    return {std::move(metric)};
}

}  // namespace

HostMetrics::HostMetrics() {
    const auto enter = [this](const char* name, admin::MetricSource source) {
        registrations_.push_back(admin::Metrics::instance().enter(name, std::move(source)));
    };
    enter("build", buildMetrics);
    enter("certificate", certificateMetrics);
    enter("conditions", conditionMetrics);
    enter("consumers", consumerMetrics);
    enter("logs", logMetrics);
    enter("naming", namingMetrics);
    enter("security", securityMetrics);
}

}  // namespace kelp::host
