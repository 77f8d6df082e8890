#include "sessions/session_table.h"

#include <kelp/util/json_text.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace kelp::ctl {

namespace {

using admin::Json;
using Row = std::vector<std::string>;

constexpr std::size_t kCellBytesMax = 60;
constexpr std::size_t kLineBytesMax = 8192;

std::string shownAt(const Json& json, const char* key, std::size_t bytesMax = kCellBytesMax) {
    return json.contains(key) && json[key].is_string()
               ? util::escaped(json[key].get<std::string>(), bytesMax)
               : "";
}

std::string countAt(const Json& json, const char* key) {
    return std::to_string(json.value(key, std::uint64_t{0}));
}

std::string decimalAt(const Json& json, const char* key) {
    char text[40];
    std::snprintf(text, sizeof text, "%.1f", json.value(key, 0.0));
    return text;
}

std::string secondsAt(const Json& json, const char* key) {
    char text[40];
    std::snprintf(text, sizeof text, "%.1f s", json.value(key, 0.0) / 1000);
    return text;
}

/// Rows under each other, each column as wide as its widest cell. The first row is the title.
std::string aligned(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            text += row[i];
            if (i + 1 < row.size())
                text.append(widths[i] - row[i].size() + 2, ' ');
        }
        text += '\n';
    }
    return text;
}

/// "none yet" instead of times of zero, for an NMS that has not been pinged.
std::string ifPinged(const Json& ping, const std::string& text) {
    return ping.value("count", std::uint64_t{0}) == 0 ? "none yet" : text;
}

Row sessionRow(const Json& session) {
    const Json& ping = session.at("ping");
    const Json& events = session.at("events");
    return {countAt(session, "number"),    shownAt(session, "user"),
            shownAt(session, "nms"),       shownAt(session, "started"),
            shownAt(session, "state"),     ifPinged(ping, decimalAt(ping, "lastMs") + " ms"),
            countAt(ping, "failed"),       decimalAt(session, "callsPerSecond"),
            countAt(session, "iterators"), countAt(events, "delivered"),
            countAt(events, "lost"),       countAt(events, "queued"),
            secondsAt(session, "oldestMs")};
}

const Row kSessionTitles = {"NUMBER", "USER",   "NMS",     "STARTED",   "STATE",
                            "PING",   "FAILED", "CALLS/S", "ITERATORS", "DELIVERED",
                            "LOST",   "QUEUED", "OLDEST"};

std::string listText(const Json& texts, const char* none) {
    std::string text;
    for (const Json& each : texts)
        text += (text.empty() ? "" : ", ") +
                util::escaped(each.is_string() ? each.get<std::string>() : "", kLineBytesMax);
    return text.empty() ? none : text;
}

std::string consumerText(const Json& consumer) {
    const Json& subscription = consumer.at("subscription");
    return "consumer " + std::to_string(consumer.value("admin", 0)) + "/" +
           std::to_string(consumer.value("proxy", 0)) + "\n" +
           aligned(
               {{"  events", countAt(consumer, "sent") +
                                 " sent = " + countAt(consumer, "delivered") + " delivered + " +
                                 countAt(consumer, "lost") + " lost + " +
                                 countAt(consumer, "queued") + " queued"},
                {"  oldest event", secondsAt(consumer, "oldestMs")},
                {"  delivery", decimalAt(consumer, "deliveryMs") + " ms for " +
                                   decimalAt(consumer, "eventsPerCall") +
                                   " events in a call, at most " + countAt(consumer, "batchMax")},
                {"  types", listText(subscription.at("types"), "none")},
                {"  filters", listText(subscription.at("filters"), "none")},
                {"  filters of admin",
                 listText(subscription.at("adminFilters"), "none") +
                     (subscription.value("eitherFilter", false) ? " (an event passes either)"
                                                                : "")},
                {"  last error", shownAt(consumer, "lastError", kLineBytesMax)}});
}

}  // namespace

std::string sessionsTable(const Json& answer) {
    std::vector<Row> rows = {kSessionTitles};
    for (const Json& each : answer.at("sessions"))
        rows.push_back(sessionRow(each));
    return aligned(rows);
}

std::string endedTable(const Json& answer) {
    std::vector<Row> rows = {
        {"NUMBER", "USER", "NMS", "STARTED", "ENDED", "REASON", "LOST", "QUEUED", "BY"}};
    for (const Json& each : answer.at("sessions"))
        rows.push_back({countAt(each, "number"), shownAt(each, "user"), shownAt(each, "nms"),
                        shownAt(each, "started"), shownAt(each, "ended"), shownAt(each, "reason"),
                        countAt(each.at("events"), "lost"), countAt(each.at("events"), "queued"),
                        shownAt(each, "by")});
    std::string text = aligned(rows);
    if (answer.value("fails", false))
        text += "The host cannot write ended sessions now; its trace says why.\n";
    if (const auto dropped = answer.value("dropped", std::uint64_t{0}); dropped > 0)
        text +=
            std::to_string(dropped) + " records were dropped because they could not be written.\n";
    return text;
}

std::string sessionText(const Json& session) {
    const Json& ping = session.at("ping");
    const Json& events = session.at("events");
    const std::string tls = shownAt(session, "tlsPeer", kLineBytesMax);
    std::string text = aligned(
        {{"session", countAt(session, "number")},
         {"user", shownAt(session, "user")},
         {"NMS", shownAt(session, "nms")},
         {"logged in from", shownAt(session, "peer")},
         {"TLS peer", tls.empty() ? "no certificate" : tls},
         {"started", shownAt(session, "started")},
         {"state", shownAt(session, "state")},
         {"last ping",
          ifPinged(ping, shownAt(ping, "last") + " (" + decimalAt(ping, "lastMs") + " ms)")},
         {"ping", ifPinged(ping, decimalAt(ping, "averageMs") + " ms on average, " +
                                     decimalAt(ping, "shortestMs") + " to " +
                                     decimalAt(ping, "longestMs") + " ms")},
         {"failed pings", countAt(ping, "failed") + " of " + countAt(ping, "count") + ", " +
                              countAt(ping, "unanswered") + " in a row now"},
         {"calls",
          countAt(session, "calls") + ", " + decimalAt(session, "callsPerSecond") + " per second"},
         {"iterators", countAt(session, "iterators")},
         {"events", countAt(events, "sent") + " sent = " + countAt(events, "delivered") +
                        " delivered + " + countAt(events, "lost") + " lost + " +
                        countAt(events, "queued") + " queued"}});
    for (const Json& each : session.at("consumers"))
        text += consumerText(each);
    return text;
}

std::string explanationText(const Json& session) {
    std::string text;
    const Json& explanation = session.at("explanation");
    for (const Json& each : explanation.at("findings"))
        text += util::escaped(each.get<std::string>(), kLineBytesMax) + "\n";
    if (!explanation.at("advice").empty())
        text += "\nWhat to do:\n";
    for (const Json& each : explanation.at("advice"))
        text += "  " + util::escaped(each.get<std::string>(), kLineBytesMax) + "\n";
    return text;
}

std::string drainText(const Json& drain) {
    const std::string state = shownAt(drain, "state");
    if (state == "off")
        return "The host accepts log-ins. " + countAt(drain, "sessionsLeft") + " sessions.\n";
    const std::string reason = shownAt(drain, "reason", kLineBytesMax);
    return "The host refuses log-ins since " + shownAt(drain, "since") + ", by " +
           shownAt(drain, "by") + (reason.empty() ? "" : ": " + reason) + ".\n" +
           countAt(drain, "ended") + " sessions ended, " + countAt(drain, "sessionsLeft") +
           " left.\n";
}

std::string topScreen(const Json& answer, std::size_t rowsMax) {
    std::vector<const Json*> sessions;
    std::uint64_t lost = 0;
    std::uint64_t queued = 0;
    double calls = 0;
    for (const Json& each : answer.at("sessions")) {
        sessions.push_back(&each);
        lost += each.at("events").value("lost", std::uint64_t{0});
        queued += each.at("events").value("queued", std::uint64_t{0});
        calls += each.value("callsPerSecond", 0.0);
    }
    std::stable_sort(sessions.begin(), sessions.end(), [](const Json* one, const Json* other) {
        const auto rank = [](const Json& session) {
            return std::pair(session.value("oldestMs", 0.0), session.value("callsPerSecond", 0.0));
        };
        return rank(*one) > rank(*other);
    });
    char totals[200];
    std::snprintf(totals, sizeof totals,
                  "%zu sessions, %.1f calls per second, %llu events queued, %llu lost, last round "
                  "of pings %lld ms%s\n\n",
                  sessions.size(), calls, static_cast<unsigned long long>(queued),
                  static_cast<unsigned long long>(lost),
                  static_cast<long long>(answer.value("roundMs", std::int64_t{0})),
                  answer.value("draining", false) ? ", draining" : "");
    std::vector<Row> rows = {kSessionTitles};
    for (std::size_t i = 0; i < std::min(rowsMax, sessions.size()); ++i)
        rows.push_back(sessionRow(*sessions[i]));
    return totals + aligned(rows);
}

}  // namespace kelp::ctl
