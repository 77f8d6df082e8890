#include "operator/session_metrics.h"

#include <kelp/admin/metrics.h>
#include <kelp/admin/parts.h>
#include <kelp/agent/session_mgr.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "operator/session_figures.h"

namespace NS_KELPCORBA {
namespace {

using kelp::admin::Metric;
using kelp::admin::MetricKind;
using kelp::admin::Sample;

kelp::admin::Registration theMetrics;
kelp::admin::Registration theIterators;

double secondsOf(std::chrono::microseconds time) {
    return std::chrono::duration<double>(time).count();
}

/// Sums over the sessions of one user. They are gauges: a session takes its counts with it when it
/// ends.
struct UserFigures {
    double sessions = 0;
    double unansweredPings = 0;
    double pingSeconds = 0;  ///< of the slowest session
    double callsPerSecond = 0;
    double iterators = 0;
    double delivered = 0;
    double lost = 0;
    double queued = 0;
    double oldestSeconds = 0;
};

void addTo(UserFigures& sum, const SessionFigures& session) {
    sum.sessions += 1;
    sum.unansweredPings += session.unansweredPings;
    sum.pingSeconds = std::max(sum.pingSeconds, secondsOf(session.pings.lastDuration));
    sum.callsPerSecond += session.calls.perSecond;
    sum.iterators += static_cast<double>(session.iterators);
    sum.delivered += static_cast<double>(session.events.delivered);
    sum.lost += static_cast<double>(session.events.lost);
    sum.queued += static_cast<double>(session.events.queued);
    for (const auto& each : session.consumers)
        sum.oldestSeconds = std::max(sum.oldestSeconds, secondsOf(each.oldest));
}

struct UserMetric {
    const char* name;
    const char* help;
    double UserFigures::*figure;
};

constexpr UserMetric kUserMetrics[] = {
    {"kelp_nms_sessions", "Sessions of the user", &UserFigures::sessions},
    {"kelp_nms_unanswered_pings", "Pings in a row that the user's NMS have not answered",
     &UserFigures::unansweredPings},
    {"kelp_nms_ping_seconds", "Duration of the last ping, of the user's slowest NMS",
     &UserFigures::pingSeconds},
    {"kelp_nms_calls_per_second", "Calls of the user's NMS", &UserFigures::callsPerSecond},
    {"kelp_nms_iterators", "Open iterators", &UserFigures::iterators},
    {"kelp_nms_events_delivered", "Events delivered in the sessions of now",
     &UserFigures::delivered},
    {"kelp_nms_events_lost", "Events lost in the sessions of now", &UserFigures::lost},
    {"kelp_nms_events_queued", "Events that wait for the user's NMS", &UserFigures::queued},
    {"kelp_nms_oldest_event_seconds", "Age of the oldest event that waits for the user's NMS",
     &UserFigures::oldestSeconds},
};

std::vector<Metric> sessionMetrics() {
    std::map<std::string, double> byState = {
        {"normal", 0}, {"silent", 0}, {"dead", 0}, {"ending", 0}};
    std::map<std::string, UserFigures> byUser;
    for (const SessionFigures& each : listedSessions()) {
        byState[stateWord(each.state)] += 1;
        addTo(byUser[each.begun.user], each);
    }
    std::vector<Metric> all;
    Metric sessions{"kelp_sessions", "Sessions of NMS, by state"};
    for (const auto& [state, count] : byState)
        sessions.samples.push_back({count, {{"state", state}}});
    all.push_back(std::move(sessions));
    const SessionMgr* const manager = SessionMgr::Existing();
    all.push_back({"kelp_ping_round_seconds",
                   "Duration of the last round of pings",
                   MetricKind::Gauge,
                   {{manager == nullptr ? 0 : secondsOf(manager->LastRound())}}});
    for (const UserMetric& kind : kUserMetrics) {
        Metric metric{kind.name, kind.help};
        for (const auto& [user, figures] : byUser)
            metric.samples.push_back({figures.*kind.figure, {{"user", user}}});
        all.push_back(std::move(metric));
    }
    return all;
}

kelp::admin::Json iteratorsPart() {
    std::size_t open = 0;
    const std::vector<SessionFigures> sessions = listedSessions();
    for (const SessionFigures& each : sessions)
        open += each.iterators;
    return {{"sessions", sessions.size()}, {"open", open}};
}

}  // namespace

void enterSessionMetrics() {
    theIterators = kelp::admin::Parts::instance().enter("iterators", iteratorsPart);
    theMetrics = kelp::admin::Metrics::instance().enter("sessions", sessionMetrics);
}

void leaveSessionMetrics() {
    theIterators.leave();
    theMetrics.leave();
}

}  // namespace NS_KELPCORBA
