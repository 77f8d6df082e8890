// The effect of qualities of service at a real channel.

#include <thread>

#include "channel_fixture.h"
#include "support/utc_any.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using namespace CosNotification;
using testing::ElementsAre;
using testing::IsEmpty;
using Clock = std::chrono::steady_clock;

constexpr CORBA::ULongLong kMs = 10'000;  // in units of 100 ns

template <class Value>
StructuredEvent eventWith(const std::string& name, const char* quality, Value value) {
    StructuredEvent made = event(name);
    made.header.variable_header = property(quality, value);
    return made;
}

/// Return the code of the first error; -1 for none.
template <class Call>
int errorOf(Call call) {
    try {
        call();
        return -1;
    } catch (const UnsupportedQoS& unsupported) {
        return unsupported.qos_err[0].code;
    }
}

class Qualities : public ChannelFixture {
  protected:
    SequenceProxyPullSupplier_var batches() {
        const ConsumerAdmin_var admin = consumers();
        ProxyID id = 0;
        const ProxySupplier_var made = admin->obtain_notification_pull_supplier(SEQUENCE_EVENT, id);
        SequenceProxyPullSupplier_var proxy = SequenceProxyPullSupplier::_narrow(made.in());
        proxy->connect_sequence_pull_consumer(CosNotifyComm::SequencePullConsumer::_nil());
        return proxy;
    }
    static CORBA::ULong pulled(const SequenceProxyPullSupplier_var& proxy, CORBA::Long most) {
        const EventBatch_var batch = proxy->pull_structured_events(most);
        return batch->length();
    }
    static CORBA::ULong tried(const SequenceProxyPullSupplier_var& proxy, CORBA::Long most) {
        CORBA::Boolean has = false;
        const EventBatch_var batch = proxy->try_pull_structured_events(most, has);
        EXPECT_EQ(has, batch->length() > 0);
        return batch->length();
    }
    StructuredProxyPushConsumer_var intake() {
        const SupplierAdmin_var admin = suppliers();
        ProxyID id = 0;
        const ProxyConsumer_var made =
            admin->obtain_notification_push_consumer(STRUCTURED_EVENT, id);
        StructuredProxyPushConsumer_var proxy = StructuredProxyPushConsumer::_narrow(made.in());
        proxy->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
        return proxy;
    }
    /// Return the proxy of a consumer that accepts nothing until it is resumed.
    StructuredProxyPushSupplier_var suspended(StructuredConsumer& consumer) {
        StructuredProxyPushSupplier_var proxy = structuredProxy();
        connect(proxy.in(), consumer);
        proxy->suspend_connection();
        return proxy;
    }
    bool losesByItsOwnLimits(std::uint64_t count) {
        return kelp::test::waitUntil([&] {
            channel().review(Clock::now());
            return channel().consumers()[0].lostByOwnLimits == count;
        });
    }
};

TEST_F(Qualities, LimitABatchThatIsPulled) {
    const SequenceProxyPullSupplier_var proxy = batches();
    push(1, 6);
    EXPECT_EQ(pulled(proxy, 10), 1u) << "MaximumBatchSize is 1";
    proxy->set_qos(property(MaximumBatchSize, CORBA::Long(3)));
    EXPECT_EQ(pulled(proxy, 10), 3u);
    EXPECT_EQ(pulled(proxy, 1), 1u);
    EXPECT_EQ(tried(proxy, 10), 1u);
    EXPECT_EQ(tried(proxy, 10), 0u);
}

TEST_F(Qualities, PaceABatchThatIsPulled) {
    const SequenceProxyPullSupplier_var proxy = batches();
    proxy->set_qos(property(MaximumBatchSize, CORBA::Long(3)));
    proxy->set_qos(property(PacingInterval, 3'600'000 * kMs));
    push(1, 2);
    EXPECT_EQ(tried(proxy, 10), 0u) << "it may become a full batch";
    EXPECT_EQ(tried(proxy, 2), 2u) << "as many as are wanted";
    push(3, 6);
    EXPECT_EQ(pulled(proxy, 10), 3u);
    EXPECT_EQ(tried(proxy, 10), 0u);
    proxy->set_qos(property(PacingInterval, CORBA::ULongLong(1 * kMs)));
    EXPECT_EQ(pulled(proxy, 10), 1u);
}

TEST_F(Qualities, OfAnEventLimitItsTime) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = suspended(consumer);
    channel().push(eventWith("short", Timeout, CORBA::ULongLong(1 * kMs)));
    channel().push(event("lasting"));
    EXPECT_TRUE(losesByItsOwnLimits(1));
    EXPECT_THAT(losses_.lost.names(), IsEmpty()) << "whoever made it so wanted it";
    proxy->resume_connection();
    ASSERT_TRUE(gets(consumer, 1));
    EXPECT_THAT(consumer.names(), ElementsAre("lasting"));
}

TEST_F(Qualities, OfAConsumerLimitTheTimeOfEventsWithoutATimeout) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = suspended(consumer);
    proxy->set_qos(property(Timeout, CORBA::ULongLong(1 * kMs)));
    push(1, 1);
    channel().push(eventWith("lasting", Timeout, CORBA::ULongLong(3'600'000 * kMs)));
    EXPECT_TRUE(losesByItsOwnLimits(1));
    EXPECT_THAT(losses_.lost.names(), IsEmpty());
    proxy->resume_connection();
    ASSERT_TRUE(gets(consumer, 1));
    EXPECT_THAT(consumer.names(), ElementsAre("lasting"));
}

TEST_F(Qualities, OfAnEventSayWhenItExpires) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = suspended(consumer);
    constexpr std::uint64_t kIn2009 = 134'000'000'000'000'000;
    constexpr std::uint64_t kIn2216 = 200'000'000'000'000'000;
    const auto until = [this](const std::string& name, std::uint64_t time) {
        StructuredEvent made = eventWith(name, StopTime, CORBA::Long(0));
        made.header.variable_header[0].value = kelp::test::utcAny(orb_.orb(), time);
        return made;
    };
    const StructuredProxyPushConsumer_var heedless = intake();
    PropertySeq unheeded = property(StopTimeSupported, CORBA::Long(0));
    unheeded[0].value <<= CORBA::Any::from_boolean(false);
    heedless->set_qos(unheeded);
    channel().push(until("old", kIn2009));
    channel().push(until("lasting", kIn2216));
    channel().push(eventWith("odd", StopTime, CORBA::Long(5)));
    heedless->push_structured_event(until("unheeded", kIn2009));
    EXPECT_TRUE(losesByItsOwnLimits(1));
    EXPECT_THAT(losses_.lost.names(), IsEmpty());
    proxy->set_qos(unheeded);
    channel().push(until("old again", kIn2009));
    proxy->resume_connection();
    ASSERT_TRUE(gets(consumer, 4));
    EXPECT_THAT(consumer.names(), ElementsAre("lasting", "odd", "unheeded", "old again"));

    NamedPropertyRangeSeq_var available;
    const PropertySeq wanted = until("", kIn2216).header.variable_header;
    EXPECT_EQ(errorOf([&] { heedless->validate_event_qos(wanted, available.out()); }),
              UNAVAILABLE_PROPERTY);
    const StructuredProxyPushConsumer_var heeding = intake();
    EXPECT_EQ(errorOf([&] { heeding->validate_event_qos(wanted, available.out()); }), -1);
}

TEST_F(Qualities, OrderEventsByPriority) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = suspended(consumer);
    proxy->set_qos(property(OrderPolicy, PriorityOrder));
    channel().push(eventWith("low", Priority, CORBA::Short(-1)));
    channel().push(eventWith("high", Priority, CORBA::Short(3)));
    channel().push(event("usual"));
    channel().push(eventWith("highest", Priority, CORBA::Short(30)));
    proxy->resume_connection();
    ASSERT_TRUE(gets(consumer, 4));
    EXPECT_THAT(consumer.names(), ElementsAre("highest", "high", "usual", "low"));
}

TEST_F(Qualities, OfASupplierAreThoseOfItsEvents) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = suspended(consumer);
    proxy->set_qos(property(OrderPolicy, PriorityOrder));
    const StructuredProxyPushConsumer_var urgent = intake();
    urgent->set_qos(property(Priority, CORBA::Short(9)));
    const StructuredProxyPushConsumer_var brief = intake();
    brief->set_qos(property(Timeout, CORBA::ULongLong(1 * kMs)));
    channel().push(event("usual"));
    urgent->push_structured_event(event("urgent"));
    urgent->push_structured_event(eventWith("low", Priority, CORBA::Short(-1)));
    brief->push_structured_event(event("brief"));
    EXPECT_TRUE(losesByItsOwnLimits(1));
    proxy->resume_connection();
    ASSERT_TRUE(gets(consumer, 3));
    EXPECT_THAT(consumer.names(), ElementsAre("urgent", "usual", "low"));
}

TEST_F(Qualities, AreRefusedByNameWhereTheyMeanNothing) {
    const StructuredProxyPushConsumer_var into = intake();
    EXPECT_EQ(errorOf([&] { into->set_qos(property(MaximumBatchSize, CORBA::Long(5))); }),
              UNSUPPORTED_PROPERTY);
    EXPECT_EQ(errorOf([&] { into->set_qos(property("Nonsense", CORBA::Long(5))); }), BAD_PROPERTY);
    const SupplierAdmin_var admin = suppliers();
    EXPECT_EQ(errorOf([&] { admin->set_qos(property(OrderPolicy, FifoOrder)); }),
              UNSUPPORTED_PROPERTY);
    const EventChannel_var own = channel().reference();
    EXPECT_EQ(errorOf([&] { own->set_qos(property(OrderPolicy, FifoOrder)); }), -1)
        << "for the consumer admins that are made from here on";
}

TEST_F(Qualities, OfAnEventAreValidated) {
    const StructuredProxyPushSupplier_var out = structuredProxy();
    const StructuredProxyPushConsumer_var into = intake();
    const auto validated = [&](const PropertySeq& wanted) {
        NamedPropertyRangeSeq_var available;
        const int atSupplier = errorOf([&] { into->validate_event_qos(wanted, available.out()); });
        EXPECT_EQ(errorOf([&] { out->validate_event_qos(wanted, available.out()); }), atSupplier);
        return atSupplier;
    };
    EXPECT_EQ(validated(property(Priority, CORBA::Short(5))), -1);
    EXPECT_EQ(validated(property(Timeout, CORBA::ULongLong(5))), -1);
    EXPECT_EQ(validated(property(OrderPolicy, FifoOrder)), UNSUPPORTED_PROPERTY);
    EXPECT_EQ(validated(property(MaximumBatchSize, CORBA::Long(5))), UNSUPPORTED_PROPERTY);
    EXPECT_EQ(validated(property(StartTime, CORBA::ULongLong(5))), UNSUPPORTED_PROPERTY);
    EXPECT_EQ(validated(property("Nonsense", CORBA::Long(5))), BAD_PROPERTY);
}

TEST_F(Qualities, ChangedConcurrentlyMatchTheAnswers) {
    const EventChannel_var own = channel().reference();
    const ConsumerAdmin_var admin = own->default_consumer_admin();
    const StructuredProxyPushSupplier_var proxy(
        pushProxy<StructuredProxyPushSupplier>(admin.in(), STRUCTURED_EVENT));
    const auto change = [&](CORBA::Long first) {
        for (CORBA::Long i = 0; i < 20; ++i)
            proxy->set_qos(property(MaxEventsPerConsumer, CORBA::Long(first + i)));
    };
    for (int round = 0; round < 100; ++round) {
        std::thread other([&] { change(100); });
        change(500);
        other.join();
        QoSProperties_var qos = proxy->get_qos();
        CORBA::Long answered = 0;
        for (CORBA::ULong i = 0; i < qos->length(); ++i) {
            if (std::string(qos[i].name.in()) == MaxEventsPerConsumer) {
                EXPECT_TRUE(qos[i].value >>= answered);
            }
        }
        ASSERT_EQ(channel().consumers()[0].queueLimit, static_cast<std::size_t>(answered));
    }
}

}  // namespace
}  // namespace kelp::notification::test
