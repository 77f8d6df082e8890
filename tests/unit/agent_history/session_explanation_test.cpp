#include "operator/session_explanation.h"

#include <gmock/gmock.h>

#include <chrono>

namespace NS_KELPCORBA {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A session whose pings take this long.
SessionFigures pingedIn(milliseconds duration) {
    SessionFigures session;
    session.begun.nms = "192.0.2.7:4711";
    session.pings.pings = 10;
    session.pings.shortest = session.pings.average = session.pings.longest = duration;
    return session;
}

kelp::notification::ConsumerCounts consumerTaking(milliseconds call, std::size_t batchMax) {
    kelp::notification::ConsumerCounts consumer;
    consumer.admin = 1;
    consumer.proxy = 2;
    consumer.pushCalls = 100;
    consumer.batchMax = batchMax;
    consumer.callDuration = call;
    consumer.eventsPerCall = static_cast<double>(batchMax);
    return consumer;
}

TEST(SessionExplanation, QuickNmsIsNotSlow) {
    SessionFigures session = pingedIn(milliseconds(2));
    session.consumers.push_back(consumerTaking(milliseconds(1), 100));
    const Explanation result = explain(session, {.network = microseconds(300)});
    EXPECT_FALSE(result.isSlow);
    EXPECT_EQ(result.findings.front(), "The NMS is not slow.");
    EXPECT_THAT(result.findings, Contains("The network's round-trip time is 0.3 ms."));
    EXPECT_THAT(result.advice, IsEmpty());
}

TEST(SessionExplanation, BlamesTheNetworkForItsShareOnly) {
    const Explanation result = explain(pingedIn(milliseconds(620)), {.network = milliseconds(600)});
    EXPECT_TRUE(result.isSlow);
    EXPECT_THAT(result.findings, Contains(HasSubstr("600.0 ms, which is slow")));
    EXPECT_THAT(result.advice, Contains(HasSubstr("Check the network")));
    EXPECT_THAT(result.advice, Not(Contains(HasSubstr("The NMS itself"))));
}

TEST(SessionExplanation, BlamesTheNmsForSlowAnswersOverAQuickNetwork) {
    const Explanation result = explain(pingedIn(milliseconds(900)), {.network = milliseconds(1)});
    EXPECT_TRUE(result.isSlow);
    EXPECT_THAT(result.advice, Contains(HasSubstr("The NMS itself needs the time")));
}

TEST(SessionExplanation, AdvisesLargerBatches) {
    SessionFigures session = pingedIn(milliseconds(50));
    session.consumers.push_back(consumerTaking(milliseconds(50), 1));
    session.consumers.back().queued = 900;
    session.consumers.back().oldest = milliseconds(45'000);
    const Explanation result = explain(session, {.network = milliseconds(49)});
    EXPECT_TRUE(result.isSlow);
    EXPECT_THAT(result.findings, Contains("Consumer 1/2 is behind: 900 events wait, the oldest for "
                                          "45 s."));
    EXPECT_THAT(result.findings, Contains(HasSubstr("about 20 events per second")));
    EXPECT_THAT(result.advice, Contains(HasSubstr("larger MaximumBatchSize")));
}

TEST(SessionExplanation, SaysWhatWasNotMeasured) {
    const Explanation result = explain(SessionFigures{}, {});
    EXPECT_THAT(result.findings, Contains(HasSubstr("round-trip time is not known")));
    EXPECT_THAT(result.findings, Contains(HasSubstr("response time is not known")));
    EXPECT_THAT(result.findings, Contains(HasSubstr("no consumer")));
}

TEST(SessionExplanation, SuspendedConsumerIsNotBlamedForItsQueue) {
    SessionFigures session = pingedIn(milliseconds(1));
    session.consumers.push_back(consumerTaking(milliseconds(1), 100));
    session.consumers.back().suspended = true;
    session.consumers.back().queued = 5;
    session.consumers.back().oldest = milliseconds(60'000);
    const Explanation result = explain(session, {.network = microseconds(100)});
    EXPECT_FALSE(result.isSlow);
    EXPECT_THAT(result.findings, Contains(HasSubstr("has suspended its connection")));
}

}  // namespace
}  // namespace NS_KELPCORBA
