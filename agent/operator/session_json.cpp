#include "operator/session_json.h"

#include <kelp/oplog/log_entry.h>

#include <algorithm>
#include <chrono>

namespace NS_KELPCORBA {
namespace {

double millisecondsOf(std::chrono::microseconds time) {
    return static_cast<double>(time.count()) / 1000;
}

/// The members that open and ended sessions have.
Json beginning(const SessionRecord& session) {
    return {{"number", session.number},   {"user", session.user},
            {"nms", session.nms},         {"peer", session.peer},
            {"tlsPeer", session.tlsPeer}, {"started", utcText(session.started)}};
}

Json jsonOfEvents(const EventFigures& events) {
    return {{"sent", events.sent},
            {"delivered", events.delivered},
            {"lost", events.lost},
            {"queued", events.queued}};
}

Json jsonOfPings(const SessionFigures& session) {
    const PingFigures& pings = session.pings;
    return {{"count", pings.pings},
            {"failed", pings.failed},
            {"unanswered", session.unansweredPings},
            {"last", pings.last ? utcText(*pings.last) : ""},
            {"lastMs", millisecondsOf(pings.lastDuration)},
            {"shortestMs", millisecondsOf(pings.shortest)},
            {"averageMs", millisecondsOf(pings.average)},
            {"longestMs", millisecondsOf(pings.longest)},
            {"lastError", pings.lastError}};
}

Json jsonOfConsumer(const kelp::notification::ConsumerCounts& consumer) {
    return {{"admin", consumer.admin},
            {"proxy", consumer.proxy},
            {"sent", consumer.sent},
            {"delivered", consumer.delivered},
            {"lost", consumer.lost},
            {"lostByOwnLimits", consumer.lostByOwnLimits},
            {"queued", consumer.queued},
            {"queueLimit", consumer.queueLimit},
            {"oldestMs", consumer.oldest.count()},
            {"failures", consumer.failures},
            {"answers", consumer.answers},
            {"suspended", consumer.suspended},
            {"batchMax", consumer.batchMax},
            {"eventsPerCall", consumer.eventsPerCall},
            {"deliveryMs", millisecondsOf(consumer.callDuration)},
            {"lastError", consumer.lastError}};
}

}  // namespace

std::string utcText(UtcMs time) {
    return kelp::oplog::timeText(time);
}

Json jsonOf(const SessionFigures& session) {
    Json json = beginning(session.begun);
    json["state"] = stateWord(session.state);
    json["ping"] = jsonOfPings(session);
    json["calls"] = session.calls.total;
    json["callsPerSecond"] = session.calls.perSecond;
    json["iterators"] = session.iterators;
    json["events"] = jsonOfEvents(session.events);
    std::chrono::milliseconds oldest{0};
    Json consumers = Json::array();
    for (const auto& each : session.consumers) {
        oldest = std::max(oldest, each.oldest);
        consumers.push_back(jsonOfConsumer(each));
    }
    json["oldestMs"] = oldest.count();
    json["consumers"] = std::move(consumers);
    return json;
}

Json jsonOf(const SessionRecord& session) {
    Json json = beginning(session);
    json["ended"] = utcText(session.ended);
    json["reason"] = wordOf(session.reason);
    json["by"] = session.by;
    json["events"] = jsonOfEvents(session.events);
    json["calls"] = session.calls;
    return json;
}

Json jsonOf(const Explanation& explanation) {
    return {{"isSlow", explanation.isSlow},
            {"findings", explanation.findings},
            {"advice", explanation.advice}};
}

Json jsonOf(const kelp::notification::ConsumerSubscription& subscription) {
    return {{"types", subscription.types},
            {"filters", subscription.filters},
            {"adminFilters", subscription.adminFilters},
            {"eitherFilter", subscription.eitherFilter}};
}

}  // namespace NS_KELPCORBA
