#include "alarms/alarm_pages.h"

#include <kelp/alarms/enum_names.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <array>
#include <vector>

#include "alarms/alarm_list_use.h"
#include "alarms/alarm_view.h"
#include "alarms/page_query.h"

namespace kelp::ems {

namespace {

using admin::Json;
using admin::RequestError;
using alarms::Entry;
using alarms::PastEntry;

/// A page ends before it has more octets of alarms than this, but has at least one alarm: texts of
/// alarms may be long.
constexpr std::size_t kPageBytesMax = 8 << 20;

const alarms::ActiveAlarm& shownOf(const Entry& entry) {
    return *entry;
}
const alarms::ActiveAlarm& shownOf(const PastEntry& entry) {
    return entry->last;
}

std::vector<Entry> matching(const alarms::ListState& list, const PageQuery& query) {
    std::vector<Entry> all = list.read(query.alarms);
    std::erase_if(all, [&](const Entry& each) { return !query.acceptsTime(each->changedAt); });
    return all;
}

std::vector<PastEntry> matchingPast(const alarms::ListState& list, const PageQuery& query) {
    std::vector<PastEntry> all;
    for (const PastEntry& each : list.history()) {
        if (query.alarms.accepts(each->last) && query.acceptsTime(each->endedAt))
            all.push_back(each);
    }
    return all;
}

/// What the answer says about all alarms that the query accepts.
template <class Each>
Json summary(const alarms::ListState& list, const std::vector<Each>& all) {
    std::array<std::size_t, alarms::kSeverities> bySeverity{};
    std::size_t unacknowledged = 0;
    for (const Each& each : all) {
        const alarms::ActiveAlarm& shown = shownOf(each);
        ++bySeverity.at(static_cast<std::size_t>(shown.alarm.perceivedSeverity));
        unacknowledged += shown.isAcknowledged() ? 0 : 1;
    }
    Json counts = Json::object();
    for (std::size_t i = 0; i < bySeverity.size(); ++i) {
        if (static_cast<alarms::Severity>(i) != alarms::Severity::Cleared)
            counts[alarms::severityNames()[i]] = bySeverity.at(i);
    }
    return {{"position", std::to_string(list.position())},
            {"matching", all.size()},
            {"unacknowledged", unacknowledged},
            {"counts", std::move(counts)}};
}

/// The page with its summary. `all` is in the order of the notification ids.
template <class Each>
Json pageOf(const alarms::ListState& list, std::vector<Each> all, const PageQuery& query) {
    Json answer = summary(list, all);
    Json page = Json::array();
    std::size_t bytes = 0;
    if (query.isNewestFirst)
        std::reverse(all.begin(), all.end());
    auto next = std::partition_point(all.begin(), all.end(), [&](const Each& each) {
        return query.after != 0 && (query.isNewestFirst ? each->notificationId >= query.after
                                                        : each->notificationId <= query.after);
    });
    for (; next != all.end() && page.size() < query.limit; ++next) {
        bytes += alarms::memoryOf(shownOf(*next).alarm);
        if (bytes > kPageBytesMax && !page.empty())
            break;
        page.push_back(viewOf(**next));
    }
    answer["alarms"] = std::move(page);
    if (next != all.end())
        answer["next"] = std::to_string((*std::prev(next))->notificationId);
    return answer;
}

[[noreturn]] void refuseUnknown(const std::string& notificationId) {
    throw RequestError("no alarm has the notification id \"" + util::escaped(notificationId, 100) +
                           "\" as that of its last event",
                       RequestError::kNotFound);
}

}  // namespace

Json AlarmPages::active(const Parameters& parameters) {
    const PageQuery query = readPageQuery(parameters);
    const ListStatePtr list = listAt(query.at);
    Json answer = pageOf(*list, matching(*list, query), query);
    if (answer.contains("next"))
        kept_.keep(list);
    return answer;
}

Json AlarmPages::history(const Parameters& parameters) {
    const PageQuery query = readPageQuery(parameters);
    const ListStatePtr list = listAt(query.at);
    Json answer = pageOf(*list, matchingPast(*list, query), query);
    if (answer.contains("next"))
        kept_.keep(list);
    return answer;
}

Json AlarmPages::one(const std::string& notificationId) {
    const ListStatePtr list = listOfAlarms()->state();
    const auto isAsked = [&](alarms::Position id) { return std::to_string(id) == notificationId; };
    const auto answer = [&](bool isActive, Json view) -> Json {
        return {{"position", std::to_string(list->position())},
                {"isActive", isActive},
                {"alarm", std::move(view)}};
    };
    alarms::AlarmQuery query;
    query.also = [&](const alarms::ActiveAlarm& entry) { return isAsked(entry.notificationId); };
    if (const std::vector<Entry> found = list->read(query); !found.empty())
        return answer(true, viewOf(*found.front()));
    const auto& past = list->history();
    const auto found = std::find_if(past.rbegin(), past.rend(), [&](const PastEntry& each) {
        return isAsked(each->notificationId) || isAsked(each->last.notificationId);
    });
    if (found == past.rend())
        refuseUnknown(notificationId);
    return answer(false, viewOf(**found));
}

ListStatePtr AlarmPages::listAt(alarms::Position position) {
    ListStatePtr now = listOfAlarms()->state();
    if (position == 0 || position == now->position())
        return now;
    ListStatePtr then = kept_.find(position);
    if (!then)
        throw RequestError("the list at the position " + std::to_string(position) +
                               " is not kept any more, read it from the beginning",
                           RequestError::kGone);
    return then;
}

}  // namespace kelp::ems
