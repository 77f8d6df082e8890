// Peers that fail when they are notified of changes: nobody else is affected.

#include "changes_fixture.h"
#include "support/tcp_peers.h"
#include "support/trace_capture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using kelp::test::DeafListener;
using kelp::test::TraceCapture;
using testing::ElementsAre;

class DeadPeers : public ChangesFixture {
  protected:
    static constexpr const char* kGivenUp = " receives no more changes of event types: ";

    /// Return the proxy of a consumer that hangs, with updates on.
    PushProxy hung(const DeafListener& host) {
        const PushProxy proxy = structuredProxy();
        const auto reference = CosNotifyComm::StructuredPushConsumer_var(
            away<CosNotifyComm::StructuredPushConsumer>(host.corbaloc()));
        proxy->connect_structured_push_consumer(reference.in());
        (void)offered(proxy, NONE_NOW_UPDATES_ON);
        return proxy;
    }
};

template <class Failure>
void fail() {
    throw Failure(0, CORBA::COMPLETED_NO);
}

struct Answer {
    const char* name;
    void (*give)();
};

void PrintTo(const Answer& answer, std::ostream* out) {
    *out << answer.name;
}

class AnswersWith : public DeadPeers, public testing::WithParamInterface<Answer> {};

TEST_P(AnswersWith, AnErrorEndsTheUpdatesOfThatConsumerAlone) {
    const TraceCapture trace;
    StructuredNoted& failing = make<StructuredNoted>();
    failing.answer = GetParam().give;
    const PushProxy failingProxy = connected(failing);
    StructuredNoted& healthy = make<StructuredNoted>();
    const PushProxy healthyProxy = connected(healthy);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(healthy.isTold(1));
    ASSERT_TRUE(trace.waitFor(std::string("consumer 0/1") + kGivenUp));
    const int calls = failing.calls();
    in->offer_change(typesOf({"B"}), typesOf({}));
    ASSERT_TRUE(healthy.isTold(2));
    in->offer_change(typesOf({"C"}), typesOf({}));
    ASSERT_TRUE(healthy.isTold(3));
    EXPECT_EQ(failing.calls(), calls);
    push(1, 3);
    ASSERT_TRUE(gets(failing, 3)) << "its events go on";
    EXPECT_EQ(channel().consumers()[0].failures, 0u);

    failing.answer = nullptr;
    EXPECT_EQ(offered(failingProxy, ALL_NOW_UPDATES_ON), Names({"d/A", "d/B", "d/C"}));
    in->offer_change(typesOf({"D"}), typesOf({}));
    ASSERT_TRUE(failing.isTold(1)) << "it has asked again";
    EXPECT_THAT(failing.notices(), ElementsAre(Notice{{"d/D"}, kNone}));
}

INSTANTIATE_TEST_SUITE_P(Errors, AnswersWith,
                         testing::Values(Answer{"TIMEOUT", &fail<CORBA::TIMEOUT>},
                                         Answer{"TRANSIENT", &fail<CORBA::TRANSIENT>},
                                         Answer{"COMM_FAILURE", &fail<CORBA::COMM_FAILURE>},
                                         Answer{"OBJECT_NOT_EXIST", &fail<CORBA::OBJECT_NOT_EXIST>},
                                         Answer{"NO_IMPLEMENT", &fail<CORBA::NO_IMPLEMENT>},
                                         Answer{"BAD_OPERATION", &fail<CORBA::BAD_OPERATION>}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(DeadPeers, WithoutAnObjectAreNoLongerNotified) {
    const TraceCapture trace;
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = connected(consumer);
    deactivate(&consumer);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    EXPECT_TRUE(trace.waitFor(std::string("consumer 0/1") + kGivenUp + "OBJECT_NOT_EXIST"));
    EXPECT_EQ(channel().consumers().size(), 1u) << "events decide whether it is dead";
}

/// A consumer of the older event service, which has no operation for offers.
class PlainConsumer final : public POA_CosEventComm::PushConsumer, public Received {
  public:
    void push(const CORBA::Any& any) override {
        const CosNotification::StructuredEvent* structured = nullptr;
        if (any >>= structured)
            add(*structured);
    }
    void disconnect_push_consumer() override { end(); }
};

TEST_F(DeadPeers, WithoutTheOperationAreNoLongerNotified) {
    const TraceCapture trace;
    PlainConsumer& consumer = make<PlainConsumer>();
    const ConsumerAdmin_var admin = consumers();
    const auto out = ProxyPushSupplier_var(pushProxy<ProxyPushSupplier>(admin.in(), ANY_EVENT));
    const auto reference =
        CosEventComm::PushConsumer_var(referenceTo<CosEventComm::PushConsumer>(consumer));
    out->connect_any_push_consumer(reference.in());
    EXPECT_EQ(offered(out, ALL_NOW_UPDATES_ON), kAll);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    EXPECT_TRUE(trace.waitFor(std::string("consumer 0/1") + kGivenUp + "BAD_OPERATION"));
    push(1, 2);
    EXPECT_TRUE(gets(consumer, 2));
}

TEST_F(DeadPeers, ThatSupplyAreNoLongerNotified) {
    const TraceCapture trace;
    StructuredSupplier& failing = make<StructuredSupplier>();
    failing.answer = &fail<CORBA::NO_IMPLEMENT>;
    const IntakeProxy failingProxy = connected(failing);
    StructuredSupplier& healthy = make<StructuredSupplier>();
    const IntakeProxy healthyProxy = connected(healthy);
    const PushProxy out = structuredProxy();
    ASSERT_TRUE(healthy.isTold(1));
    EXPECT_TRUE(trace.waitFor(std::string("supplier 0/1") + kGivenUp + "NO_IMPLEMENT"));
    out->subscription_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(healthy.isTold(2));
    out->subscription_change(typesOf({"B"}), typesOf({}));
    ASSERT_TRUE(healthy.isTold(3));
    EXPECT_EQ(failing.calls(), 1);
    failingProxy->push_structured_event(event("1"));
}

TEST_F(DeadPeers, ThatHangDelayNeitherEventsNorSuppliers) {
    settings_.delivery.pushTimeout = std::chrono::minutes(10);
    const DeafListener host;
    StructuredConsumer& healthy = make<StructuredConsumer>();
    const PushProxy out = structuredProxy();
    connect(out.in(), healthy);
    StructuredNoted& pushedTo = make<StructuredNoted>();
    const PushProxy noted = connected(pushedTo);
    const PushProxy hangs = hung(host);
    hangs->subscription_change(typesOf({"NEVER"}), typesOf({}));
    const IntakeProxy in = intake();
    in->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(pushedTo.isTold(1));
    in->offer_change(typesOf({"B"}), typesOf({}));
    in->push_structured_event(event("1"));
    push(2, 10);
    EXPECT_TRUE(gets(healthy, 10));
    EXPECT_TRUE(gets(pushedTo, 10));
    // the peer ends before the channel, which ends the call
}

TEST_F(DeadPeers, ThatHangDelayTheOthersNoticesOnceForTheTimeOut) {
    settings_.delivery.pushTimeout = std::chrono::milliseconds(200);
    const TraceCapture trace;
    const DeafListener host;
    const PushProxy hangs = hung(host);
    StructuredNoted& healthy = make<StructuredNoted>();
    const PushProxy out = connected(healthy);
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(healthy.isTold(1));
    EXPECT_TRUE(trace.waitFor(std::string("consumer 0/1") + kGivenUp));
    for (std::size_t i = 2; i <= 5; ++i) {
        in->offer_change(typesOf({std::to_string(i).c_str()}), typesOf({}));
        ASSERT_TRUE(healthy.isTold(i));
    }
    EXPECT_EQ(trace.count(kGivenUp), 1u);
}

// The healthy consumer has its turn first, so the first of the hung consumers is being called when
// the stop begins.
TEST_F(DeadPeers, ThatHangDelayTheStopByOneCall) {
    settings_.delivery.pushTimeout = std::chrono::milliseconds(300);
    const TraceCapture trace;
    const DeafListener host;
    StructuredNoted& healthy = make<StructuredNoted>();
    const PushProxy out = connected(healthy);
    std::vector<PushProxy> proxies;
    for (int i = 0; i < 10; ++i)
        proxies.push_back(hung(host));
    const IntakeProxy in = intake();
    in->offer_change(typesOf({"A"}), typesOf({}));
    ASSERT_TRUE(healthy.isTold(1));
    channel().stop();
    EXPECT_LE(trace.count(kGivenUp), 1u);
}

}  // namespace
}  // namespace kelp::notification::test
