#include "operator/session_explanation.h"

#include <algorithm>
#include <cstdio>

namespace NS_KELPCORBA {
namespace {

using kelp::notification::ConsumerCounts;
using std::chrono::microseconds;
using std::chrono::milliseconds;

/// A network of one country stays below this; NMS behind a satellite do not.
constexpr microseconds kSlowNetwork{150'000};
/// An answer that takes longer than this beyond the network's share is the NMS's own doing.
constexpr microseconds kSlowAnswer{500'000};
/// Events that have waited for longer than this are late.
constexpr milliseconds kLate{5000};
/// A consumer that takes fewer events in a call pays the round trip for nearly each.
constexpr std::size_t kSmallBatch = 10;
/// From this round trip on, one event per call limits the rate to less than 100 a second.
constexpr microseconds kBatchMatters{10'000};

std::string milliText(microseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(time.count()) / 1000);
    return text;
}

std::string rateText(double perSecond) {
    char text[32];
    std::snprintf(text, sizeof text, "%.0f", perSecond);
    return text;
}

void explainNetwork(const ExplanationContext& context, Explanation& result) {
    if (!context.network) {
        result.findings.push_back(
            "The network's round-trip time is not known: there is no "
            "connection with the NMS now.");
        return;
    }
    const bool isSlow = *context.network > kSlowNetwork;
    result.findings.push_back("The network's round-trip time is " + milliText(*context.network) +
                              (isSlow ? ", which is slow." : "."));
    if (!isSlow)
        return;
    result.isSlow = true;
    result.advice.push_back(
        "Check the network between the EMS and the NMS. If it is as it must "
        "be, let the NMS take more events in one call.");
}

void explainAnswers(const SessionFigures& session, const ExplanationContext& context,
                    Explanation& result) {
    const PingFigures& pings = session.pings;
    if (session.unansweredPings > 0) {
        result.isSlow = true;
        result.findings.push_back(
            "The NMS has not answered the last " + std::to_string(session.unansweredPings) +
            (session.unansweredPings == 1 ? " ping" : " pings") + ": " + pings.lastError + ".");
        result.advice.push_back(
            "Check whether the NMS's process runs, and whether a firewall lets "
            "the EMS connect to " +
            session.begun.nms + ".");
    }
    if (pings.longest == microseconds(0)) {
        result.findings.push_back(
            "The NMS's response time is not known: no ping has been answered "
            "yet.");
        return;
    }
    const microseconds own =
        std::max(microseconds(0), pings.average - context.network.value_or(microseconds(0)));
    const bool isSlow = own > kSlowAnswer;
    result.findings.push_back("The NMS answers a ping in " + milliText(pings.average) +
                              " on average (at best " + milliText(pings.shortest) + ", at worst " +
                              milliText(pings.longest) + ")" + (isSlow ? ", which is slow." : "."));
    if (!isSlow)
        return;
    result.isSlow = true;
    result.advice.push_back(
        "The NMS itself needs the time, not the network. Its threads are busy "
        "or its machine is overloaded. It should serve pings and events on "
        "threads that do not wait for its database.");
}

std::string nameOf(const ConsumerCounts& consumer) {
    return "Consumer " + std::to_string(consumer.admin) + "/" + std::to_string(consumer.proxy);
}

void explainBatches(const ConsumerCounts& consumer, const ExplanationContext& context,
                    Explanation& result) {
    if (consumer.batchMax == 0) {
        if (consumer.queued > 0)
            result.advice.push_back(nameOf(consumer) +
                                    " pulls its events: it must pull more often "
                                    "or take more with each call.");
        return;
    }
    if (consumer.pushCalls == 0)
        return;
    const double seconds = static_cast<double>(consumer.callDuration.count()) / 1e6;
    char events[32];
    std::snprintf(events, sizeof events, "%.1f", consumer.eventsPerCall);
    result.findings.push_back(
        nameOf(consumer) + " takes " + milliText(consumer.callDuration) + " for a call with " +
        events + " events on average, at most " + std::to_string(consumer.batchMax) + " in a call" +
        (seconds > 0
             ? ": about " + rateText(consumer.eventsPerCall / seconds) + " events per second."
             : "."));
    if (consumer.batchMax < kSmallBatch && consumer.callDuration >= kBatchMatters)
        result.advice.push_back(nameOf(consumer) +
                                " should take sequences of events with a larger "
                                "MaximumBatchSize: each call costs " +
                                milliText(consumer.callDuration) + " whatever its events.");
    else if (consumer.callDuration > kSlowAnswer + context.network.value_or(microseconds(0)))
        result.advice.push_back(nameOf(consumer) +
                                " should only store the events within the call, and work on them "
                                "afterwards.");
}

void explainConsumer(const ConsumerCounts& consumer, const ExplanationContext& context,
                     Explanation& result) {
    const bool isLate = consumer.oldest > kLate && !consumer.suspended;
    if (consumer.suspended)
        result.findings.push_back(nameOf(consumer) + " has suspended its connection itself; " +
                                  std::to_string(consumer.queued) + " events wait.");
    else if (!consumer.answers)
        result.findings.push_back(nameOf(consumer) + " does not answer" +
                                  (consumer.lastError.empty() ? "" : ": " + consumer.lastError) +
                                  "; " + std::to_string(consumer.queued) + " events wait.");
    else if (isLate)
        result.findings.push_back(nameOf(consumer) +
                                  " is behind: " + std::to_string(consumer.queued) +
                                  " events wait, the oldest for " +
                                  std::to_string(consumer.oldest.count() / 1000) + " s.");
    if (consumer.lost > 0) {
        result.findings.push_back(nameOf(consumer) + " has lost " + std::to_string(consumer.lost) +
                                  " of " + std::to_string(consumer.sent) + " events.");
        result.advice.push_back(
            "The NMS must read the active alarms again, because events were "
            "lost.");
    }
    result.isSlow = result.isSlow || isLate || !consumer.answers;
    explainBatches(consumer, context, result);
}

}  // namespace

Explanation explain(const SessionFigures& session, const ExplanationContext& context) {
    Explanation result;
    explainNetwork(context, result);
    explainAnswers(session, context, result);
    if (session.consumers.empty())
        result.findings.push_back("The NMS has no consumer, so it gets no events.");
    for (const ConsumerCounts& each : session.consumers)
        explainConsumer(each, context, result);
    std::sort(result.advice.begin(), result.advice.end());
    result.advice.erase(std::unique(result.advice.begin(), result.advice.end()),
                        result.advice.end());
    result.findings.insert(result.findings.begin(),
                           result.isSlow ? "The NMS is slow." : "The NMS is not slow.");
    return result;
}

}  // namespace NS_KELPCORBA
