#include <fmt/format.h>

#include <algorithm>
#include <future>
#include <iostream>
#include <thread>

#include "alarms/alarm_poster.h"
#include "alarms/followers.h"
#include "alarms/measurements.h"
#include "common/process_usage.h"

namespace kelp::bench {

namespace {

constexpr double kMibPerKib = 1.0 / 1024;
constexpr double kRateShare = 0.99;   ///< of the rate, that must be reached
constexpr double kGrowthMibMax = 64;  ///< from a fifth of the time to its end
constexpr double kLagSecondsMax = 1;  ///< more would be a backlog that grows
constexpr double kLatencyMsMax = 50;

Figure valueOf(const std::string& name, const std::string& unit, double value,
               std::optional<Aim> aim = std::nullopt, const std::string& note = "") {
    Figure figure;
    figure.name = name;
    figure.unit = unit;
    figure.value = value;
    figure.aim = aim;
    figure.note = note;
    return figure;
}

Aim atMost(double limit) {
    return {Aim::Of::Value, Aim::Bound::AtMost, limit};
}

double microsecondsOf(std::chrono::nanoseconds time, std::size_t events) {
    const std::chrono::duration<double, std::micro> all = time;
    return all.count() / static_cast<double>(events);
}

/// Events that are missing at some NMS, or came twice or out of order.
double wrongAt(const std::vector<Received>& all, std::size_t posted) {
    std::size_t wrong = 0;
    for (const Received& each : all)
        wrong +=
            (posted > each.events ? posted - each.events : each.events - posted) + each.outOfOrder;
    return static_cast<double>(wrong);
}

}  // namespace

std::vector<Figure> measureSustained(nms::NmsClient& client, const AlarmOptions& options) {
    std::cerr << "  sustained rate\n";
    const Product product({});
    const Ems ems(client, product);
    Followers followers(ems, options.consumers, options.reads);
    auto early = std::async(std::launch::async, [&] {
        std::this_thread::sleep_for(options.sustained / 5.0);
        return residentKib(product.pid()) * kMibPerKib;
    });
    const auto before = processorTime(product.pid());
    const auto followersBefore = followers.processorTime();
    const Posted posted = postSteadily(product.adminSocket(), {.perSecond = options.rate,
                                                               .alarmsAPost = options.alarmsAPost,
                                                               .length = options.sustained});
    const auto lastPost = std::chrono::steady_clock::now();
    const auto used = processorTime(product.pid()) - before;
    const auto followersUsed = followers.processorTime() - followersBefore;
    const double atEnd = residentKib(product.pid()) * kMibPerKib;
    followers.waitFor(posted.alarms);
    const std::chrono::duration<double> lag = std::chrono::steady_clock::now() - lastPost;
    const std::vector<Received> received = followers.received();
    const double memoryEarly = early.get();
    return {
        valueOf(fmt::format("alarms to {} NMS, {} a post", options.consumers, options.alarmsAPost),
                "alarms/s", posted.perSecond(),
                Aim{Aim::Of::Value, Aim::Bound::AtLeast,
                    kRateShare * static_cast<double>(options.rate)},
                fmt::format("{} alarms in {:.1f} s", posted.alarms, posted.took.count())),
        valueOf("  from the last post until every NMS has every event", "s", lag.count(),
                atMost(kLagSecondsMax)),
        valueOf("  events lost, repeated or out of order", "events",
                wrongAt(received, posted.alarms), atMost(0)),
        valueOf("  host's processor time an alarm", "us", microsecondsOf(used, posted.alarms)),
        valueOf("  an NMS's processor time an event", "us",
                microsecondsOf(followersUsed, posted.alarms * options.consumers), std::nullopt,
                options.reads == Reads::Raw ? "counted in the octets" : "decoded"),
        valueOf("  host's memory after a fifth of the time", "MiB", memoryEarly),
        valueOf("  its growth from then to the end", "MiB", atEnd - memoryEarly,
                atMost(kGrowthMibMax))};
}

std::vector<Figure> measureLatency(nms::NmsClient& client, const AlarmOptions& options) {
    std::cerr << "  latency\n";
    const Product product({});
    const Ems ems(client, product);
    Followers followers(ems, options.consumers, Reads::Decoding);
    const auto before = followers.processorTime();
    const Posted posted = postSteadily(product.adminSocket(), {.perSecond = options.latencyRate,
                                                               .alarmsAPost = options.latencyPost,
                                                               .length = options.latency});
    const auto used = followers.processorTime() - before;
    followers.waitFor(posted.alarms);
    const std::vector<Received> received = followers.received();
    std::vector<double> p50;
    double worst = 0;
    for (const Received& each : received) {
        p50.push_back(each.p50Ms);
        worst = std::max(worst, each.p99Ms);
    }
    const std::string rate = fmt::format("{:.0f} alarms/s to {} NMS, {} a post", posted.perSecond(),
                                         options.consumers, options.latencyPost);
    return {
        valueOf("intake to consumer, p50", "ms", medianOf(p50), std::nullopt, rate),
        valueOf("intake to consumer, p99", "ms", worst, atMost(kLatencyMsMax),
                "of the NMS with the largest one"),
        valueOf("  events lost, repeated or out of order", "events",
                wrongAt(received, posted.alarms), atMost(0)),
        valueOf("  an NMS's processor time an event", "us",
                microsecondsOf(used, posted.alarms * options.consumers), std::nullopt, "decoded")};
}

}  // namespace kelp::bench
