#include "alarms/alarm_filter.h"

#include <kelp/util/joined.h>
#include <kelp/util/json_text.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

#include "moment.h"

namespace kelp::ctl {

namespace {

using admin::Json;
using admin::Query;

/// The host's maximum.
constexpr std::uint64_t kPageAlarms = 10'000;
/// Attempts to read all pages before the host forgets the list that they show.
constexpr int kAttempts = 3;

/// A time as the host reads it.
std::string hostTime(const std::string& text, const std::string& option) {
    const std::time_t seconds =
        std::chrono::system_clock::to_time_t(momentOf(text, option, oplog::now()));
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    char layout[32];
    std::strftime(layout, sizeof layout, "%Y%m%d%H%M%S.0Z", &utc);
    return layout;
}

/// Read the pages once.
Json readOnce(const AdminClient& client, const std::string& path, Query query,
              std::uint64_t limit) {
    Json all;
    for (;;) {
        const std::uint64_t missing = limit == 0 ? kPageAlarms : limit - all["alarms"].size();
        query.erase("limit");
        query.emplace("limit", std::to_string(std::min(missing, kPageAlarms)));
        Json page = client.get(path, query);
        if (all["alarms"].is_null()) {
            all = std::move(page);
        } else {
            for (Json& each : page.at("alarms"))
                all["alarms"].push_back(std::move(each));
            all.erase("next");
            if (page.contains("next"))
                all["next"] = page["next"];
        }
        if (!all.contains("next") || (limit != 0 && all.at("alarms").size() >= limit))
            return all;
        query.erase("after");
        query.erase("at");
        query.emplace("after", all["next"].get<std::string>());
        query.emplace("at", all.at("position").get<std::string>());
    }
}

}  // namespace

void AlarmFilter::addTo(CLI::App& command) {
    alarms.addSocket(command);
    alarms.addObject(command);
    command.get_option("--object")
        ->description(
            "Only alarms of this object and the objects in it, such as ManagedElement=NE-1; the "
            "component EMS is added automatically");
    command.add_option("--severity", severities, "Only these severities: " + severityWords())
        ->delimiter(',')
        ->transform(severityValidator())
        ->type_name("WORD,...");
    command.add_option("--probable-cause", probableCause, "Only this probable cause")
        ->type_name("TEXT");
    CLI::Option* acknowledged =
        command.add_flag("--acknowledged", isAcknowledged, "Only acknowledged alarms");
    command.add_flag("--unacknowledged", isUnacknowledged, "Only unacknowledged alarms")
        ->excludes(acknowledged);
    command.add_option("--since", since, "Only those whose last event is not older than this")
        ->type_name("TIME");
    command.add_option("--until", until, "Only those whose last event is older than this")
        ->type_name("TIME");
    command
        .add_option("--limit", limit,
                    isNewestFirst ? "At most this many, the newest; default: all"
                                  : "At most this many, the oldest; default: all")
        ->check(CLI::PositiveNumber)
        ->type_name("NUMBER");
}

Query AlarmFilter::query() const {
    Query query;
    if (isNewestFirst)
        query.emplace("order", "newest");
    if (!severities.empty())
        query.emplace("severity", util::joined(severities, ","));
    if (!alarms.object.empty())
        query.emplace("object", util::jsonText(alarms.objectName()));
    if (!probableCause.empty())
        query.emplace("probableCause", probableCause);
    if (isAcknowledged || isUnacknowledged)
        query.emplace("acknowledged", isAcknowledged ? "true" : "false");
    if (!since.empty())
        query.emplace("since", hostTime(since, "--since"));
    if (!until.empty())
        query.emplace("until", hostTime(until, "--until"));
    return query;
}

Json readAlarmPages(const AdminClient& client, const std::string& path, const Query& query,
                    std::uint64_t limit) {
    for (int attempt = 1;; ++attempt) {
        try {
            return readOnce(client, path, query, limit);
        } catch (const RequestRefused& refused) {
            if (refused.status() != admin::RequestError::kGone || attempt == kAttempts)
                throw;
        }
    }
}

}  // namespace kelp::ctl
