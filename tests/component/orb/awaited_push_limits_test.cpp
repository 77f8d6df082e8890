// Pushes to consumers that read slowly or not at all.

#include <string>

#include "awaited_push.h"
#include "hostile_server.h"
#include "support/latch.h"
#include "support/tcp_peers.h"

namespace {

using namespace kelp::test;
using Answer = HostileServer::Answer;
using kelp::orb::SharedEvent;

/// More than the buffers of two sockets hold.
constexpr std::size_t kLargeText = 32u << 20;

using AwaitedPushLimits = AwaitedPushTest;

TEST_F(AwaitedPushLimits, LargePushesArriveWhole) {
    const HostileServer server(
        [](std::uint32_t number, unsigned) -> Answer { return {giopReply(number)}; });
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    ASSERT_EQ(ordinary(consumer.in()), kAccepted);
    const SharedEvent event(numbered(2, kLargeText));
    EXPECT_EQ(awaited(consumer.in(), event, std::chrono::seconds(20)), kAccepted);
    EXPECT_EQ(awaited(consumer.in()), kAccepted);
    EXPECT_EQ(server.connections(), 1u);
}

TEST_F(AwaitedPushLimits, PushesToAConsumerThatDoesNotReadEndWithTheirLimit) {
    Latch mayGoOn;
    const HostileServer stopped([&](std::uint32_t number, unsigned before) -> Answer {
        return {.octets = giopReply(number), .waitsAt = before == 1 ? &mayGoOn : nullptr};
    });
    const HostileServer good(
        [](std::uint32_t number, unsigned) -> Answer { return {giopReply(number)}; });
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(stopped.corbaloc()));
    const auto other = CosNotifyComm::StructuredPushConsumer_var(consumerAt(good.corbaloc()));
    ASSERT_EQ(ordinary(consumer.in()), kAccepted);
    ASSERT_EQ(ordinary(other.in()), kAccepted);
    ASSERT_EQ(awaited(consumer.in()), kAccepted);
    const SharedEvent event(numbered(2, kLargeText));
    const auto end = std::make_shared<PushEnd>();
    const Clock::time_point begun = Clock::now();
    ASSERT_TRUE(pushes_->push(consumer.in(), event, Milliseconds(400), end));
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(awaited(other.in()), kAccepted);
    const std::string outcome = waitFor(*end);
    EXPECT_TRUE(outcome == "TRANSIENT" || outcome == "TIMEOUT") << outcome;
    EXPECT_GE(Clock::now() - begun, Milliseconds(400));
    mayGoOn.open();
    EXPECT_EQ(pushes_->awaited(), 0u);
    EXPECT_EQ(awaited(other.in()), kAccepted);
}

TEST_F(AwaitedPushLimits, EndEvenIfNobodyWaitsMeanwhile) {
    const HostileServer server([](std::uint32_t number, unsigned before) -> Answer {
        return before == 0 ? Answer{giopReply(number)} : Answer{};
    });
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    ASSERT_EQ(ordinary(consumer.in()), kAccepted);
    const SharedEvent event(numbered(2));
    const auto end = std::make_shared<PushEnd>();
    ASSERT_TRUE(pushes_->push(consumer.in(), event, Milliseconds(1), end));
    const std::string outcome = waitFor(*end);
    EXPECT_TRUE(outcome == "TRANSIENT" || outcome == "TIMEOUT") << outcome;
}

TEST_F(AwaitedPushLimits, GiveTheConnectionUpAfterATimeOut) {
    const HostileServer server([](std::uint32_t number, unsigned before) -> Answer {
        return before == 1 ? Answer{} : Answer{giopReply(number)};
    });
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    ASSERT_EQ(ordinary(consumer.in()), kAccepted);
    EXPECT_NE(awaited(consumer.in(), Milliseconds(20)), kAccepted);
    EXPECT_EQ(awaited(consumer.in()), kNotSent) << "a late reply would answer the next push";
    EXPECT_EQ(ordinary(consumer.in()), kAccepted);
    EXPECT_EQ(server.connections(), 2u);
}

}  // namespace
