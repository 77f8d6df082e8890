// Pushes that are sent without waiting: when this is possible, what arrives, and who learns of the
// end.

#include <kelp/orb/dyn_any.h>

#include <atomic>
#include <thread>
#include <vector>

#include "awaited_push.h"
#include "component/orb/giop_recorder.h"
#include "equal_events.h"
#include "hostile_server.h"
#include "padding.h"
#include "support/latch.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;
using Answer = HostileServer::Answer;
using kelp::orb::AwaitedPushes;
using kelp::orb::SharedEvent;

/// Answers every request with success.
Answer success(std::uint32_t number, unsigned) {
    return {giopReply(number)};
}

class AwaitedPushOctets : public AwaitedPushTest,
                          public testing::WithParamInterface<const char*> {};

TEST_P(AwaitedPushOctets, AreThoseOfTheOrdinaryPush) {
    GiopRecorder recorder;
    const auto consumer =
        CosNotifyComm::StructuredPushConsumer_var(consumerAt(recorder.corbaloc(GetParam())));
    for (const std::size_t textSize : {0u, 5000u, 100000u}) {
        const SharedEvent event(numbered(3, textSize));
        kelp::orb::ordinarySender().push(consumer.in(), event);
        const std::string expected = recorder.lastRequest();
        ASSERT_EQ(ordinary(consumer.in()), kAccepted);  // something else in between
        EXPECT_EQ(awaited(consumer.in(), event, std::chrono::seconds(10)), kAccepted);
        EXPECT_TRUE(differOnlyInPadding(recorder.lastRequest(), expected)) << textSize;
    }
}

TEST_P(AwaitedPushOctets, AreThoseOfTheOrdinaryPushForABatch) {
    GiopRecorder recorder;
    const CORBA::Object_var object =
        kelp::orb::toReference(orb_.orb(), recorder.corbaloc(GetParam()));
    const CosNotifyComm::SequencePushConsumer_var consumer =
        CosNotifyComm::SequencePushConsumer::_unchecked_narrow(object.in());
    const SharedEvent first(numbered(1));
    const SharedEvent second(numbered(2, 3000));
    const std::vector<const SharedEvent*> events{&first, &second, &first};
    kelp::orb::ordinarySender().push(consumer.in(), events);
    const std::string expected = recorder.lastRequest();
    kelp::orb::ordinarySender().push(consumer.in(), std::span(events).first(1));
    const auto end = std::make_shared<PushEnd>();
    ASSERT_TRUE(pushes_->push(consumer.in(), events, std::chrono::seconds(10), end));
    EXPECT_EQ(waitFor(*end), kAccepted);
    EXPECT_TRUE(differOnlyInPadding(recorder.lastRequest(), expected));
}

INSTANTIATE_TEST_SUITE_P(Giop, AwaitedPushOctets, testing::Values("1.0", "1.1", "1.2"),
                         [](const auto& about) {
                             return std::string("Version1") + about.param[2];
                         });

using AwaitedPush = AwaitedPushTest;

TEST_F(AwaitedPush, IsNotSentWithoutAConnection) {
    const HostileServer server(success);
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    EXPECT_EQ(awaited(consumer.in()), kNotSent);
    EXPECT_EQ(server.connections(), 0u);
    EXPECT_EQ(pushes_->awaited(), 0u);
    EXPECT_EQ(ordinary(consumer.in()), kAccepted);
    EXPECT_EQ(awaited(consumer.in()), kAccepted);
    EXPECT_EQ(server.connections(), 1u);
}

TEST_F(AwaitedPush, IsNotSentToAnObjectOfThisProcess) {
    const CORBA::Object_var own =
        orb_.root()->create_reference("IDL:omg.org/CosNotifyComm/StructuredPushConsumer:1.0");
    const CosNotifyComm::StructuredPushConsumer_var consumer =
        CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(own.in());
    EXPECT_EQ(awaited(consumer.in()), kNotSent);
}

TEST_F(AwaitedPush, IsNotSentOverABusyConnection) {
    Latch mayAnswer;
    const HostileServer server([&](std::uint32_t number, unsigned before) -> Answer {
        if (before == 1)
            mayAnswer.pass();
        return {giopReply(number)};
    });
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    ASSERT_EQ(ordinary(consumer.in()), kAccepted);
    const SharedEvent event(numbered(2));
    const auto first = std::make_shared<PushEnd>();
    ASSERT_TRUE(pushes_->push(consumer.in(), event, std::chrono::seconds(10), first));
    EXPECT_EQ(pushes_->awaited(), 1u);
    EXPECT_EQ(awaited(consumer.in()), kNotSent);
    EXPECT_EQ(pushes_->awaited(), 1u);
    mayAnswer.open();
    EXPECT_EQ(waitFor(*first), kAccepted);
    EXPECT_EQ(awaited(consumer.in()), kAccepted);
}

TEST_F(AwaitedPush, IsNotSentAgainOverAConnectionThatWasClosed) {
    const HostileServer server([](std::uint32_t number, unsigned before) -> Answer {
        return {.octets = giopReply(number), .closes = before == 0};
    });
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    ASSERT_EQ(ordinary(consumer.in()), kAccepted);
    EXPECT_NE(awaited(consumer.in()), kAccepted);
    EXPECT_EQ(awaited(consumer.in()), kNotSent);
    EXPECT_EQ(ordinary(consumer.in()), kAccepted);
    EXPECT_EQ(awaited(consumer.in()), kAccepted);
    EXPECT_EQ(server.connections(), 2u);
}

TEST_F(AwaitedPush, MayBeginFromTheEndOfTheOneBefore) {
    constexpr int kPushes = 500;
    const HostileServer server(success);
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    ASSERT_EQ(ordinary(consumer.in()), kAccepted);
    const SharedEvent event(numbered(2));
    int begun = 0;
    std::function<void()> next = [&] {
        if (begun < kPushes && pushes_->push(consumer.in(), event, std::chrono::seconds(10),
                                             std::make_shared<PushEnd>([&] { next(); })))
            ++begun;
    };
    next();
    const Clock::time_point latest = Clock::now() + std::chrono::seconds(20);
    while (pushes_->awaited() > 0 && Clock::now() < latest)
        pushes_->wait(Clock::now() + Milliseconds(20));
    EXPECT_EQ(begun, kPushes);
    EXPECT_EQ(server.requests(), 1u + kPushes);
    EXPECT_EQ(server.connections(), 1u);
}

TEST_F(AwaitedPush, TakesTurnsWithOrdinaryCallsAndTheirLimits) {
    const HostileServer server([](std::uint32_t number, unsigned before) -> Answer {
        return before % 3 == 2 ? Answer{} : Answer{giopReply(number)};
    });
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(ordinary(consumer.in()), kAccepted);
        EXPECT_EQ(awaited(consumer.in(), std::chrono::seconds(10)), kAccepted);
        const Clock::time_point begun = Clock::now();
        EXPECT_NE(ordinary(consumer.in(), Milliseconds(50)), kAccepted);
        EXPECT_LT(Clock::now() - begun, std::chrono::seconds(5));
    }
}

TEST_F(AwaitedPush, GoesOnWithAnotherSetOverTheSameConnection) {
    const HostileServer server(success);
    const auto consumer = CosNotifyComm::StructuredPushConsumer_var(consumerAt(server.corbaloc()));
    ASSERT_EQ(ordinary(consumer.in()), kAccepted);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(awaited(consumer.in()), kAccepted);
        pushes_ = kelp::orb::makeAwaitedPushes();
    }
    EXPECT_EQ(server.connections(), 1u);
    const std::unique_ptr<AwaitedPushes> other =
        std::exchange(pushes_, kelp::orb::makeAwaitedPushes());
    EXPECT_EQ(awaited(consumer.in()), kAccepted);
}

TEST_F(AwaitedPush, WaitEndsWhenItIsWoken) {
    pushes_->wake();
    EXPECT_TRUE(pushes_->wait(std::nullopt));
    EXPECT_FALSE(pushes_->wait(Clock::now()));
    const Clock::time_point begun = Clock::now();
    EXPECT_FALSE(pushes_->wait(begun + Milliseconds(20)));
    EXPECT_GE(Clock::now() - begun, Milliseconds(20));
}

TEST_F(AwaitedPush, EachCallOfWakeEndsTheWaitOfAThread) {
    constexpr int kThreads = 8;
    std::atomic<int> woken{0};
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            if (pushes_->wait(std::nullopt))
                ++woken;
        });
    // two calls may end the same wait, so it takes a further one for each thread that still waits
    EXPECT_TRUE(waitUntil([&] {
        pushes_->wake();
        return woken == kThreads;
    }));
}

TEST_F(AwaitedPush, HundredConsumersAreServedByAFewThreads) {
    constexpr std::size_t kConsumers = 100;
    constexpr int kPushesEach = 10;
    std::vector<std::unique_ptr<HostileServer>> servers;
    std::vector<CosNotifyComm::StructuredPushConsumer_var> consumers;
    for (std::size_t i = 0; i < kConsumers; ++i) {
        servers.push_back(std::make_unique<HostileServer>(success));
        consumers.emplace_back(consumerAt(servers.back()->corbaloc()));
        ASSERT_EQ(ordinary(consumers.back().in()), kAccepted);
    }
    const SharedEvent event(numbered(2));
    std::atomic<int> accepted{0};
    std::function<void(std::size_t, int)> pushNext = [&](std::size_t at, int left) {
        // the end refers to itself through this function only, so it goes when the push ends
        const bool isSent = pushes_->push(consumers[at].in(), event, std::chrono::seconds(20),
                                          std::make_shared<PushEnd>([&, at, left] {
                                              ++accepted;
                                              if (left > 1)
                                                  pushNext(at, left - 1);
                                          }));
        EXPECT_TRUE(isSent);
    };
    std::atomic<bool> isOver{false};
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            while (!isOver)
                pushes_->wait(Clock::now() + Milliseconds(20));
        });
    for (std::size_t i = 0; i < kConsumers; ++i)
        pushNext(i, kPushesEach);
    EXPECT_TRUE(waitUntil([&] { return accepted == static_cast<int>(kConsumers) * kPushesEach; },
                          std::chrono::seconds(60)));
    isOver = true;
    threads.clear();
    for (const auto& each : servers)
        EXPECT_EQ(each->requests(), 1u + kPushesEach);
}

}  // namespace
