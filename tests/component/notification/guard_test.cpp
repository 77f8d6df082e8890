// A guarded channel: who may call its objects over connections, and whose proxies are dropped.
// Relays give each peer a separate address.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <set>
#include <utility>

#include "guarded_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using namespace std::chrono_literals;
using kelp::test::waitUntil;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
class GuardedChannel : public GuardedFixture {
  protected:
    GuardedChannel() {
        allowed_.allowSupplying(kA);
        allowed_.allowSupplying(kB);
    }
    StructuredProxyPushSupplier_var structuredProxyInside() {
        const EventChannel_var own = channel().reference();
        const ConsumerAdmin_var admin = own->default_consumer_admin();
        return StructuredProxyPushSupplier_var(
            pushProxy<StructuredProxyPushSupplier>(admin.in(), STRUCTURED_EVENT));
    }
};

TEST_F(GuardedChannel, RefusesReferencesThatItMayNotCall) {
    const StructuredProxyPushSupplier_var proxy = proxyFrom(a_);
    const StructuredProxyPullSupplier_var pulled = pullProxyFrom(a_);
    const StructuredProxyPushConsumer_var intake = intakeFrom(a_);
    const CosNotifyFilter::Filter_var filter = filterFrom(a_);
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const CORBA::Object_var other = remote(consumer);
    const auto pushed = CosNotifyComm::StructuredPushConsumer_var(
        CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(other.in()));
    const auto pulling = CosNotifyComm::StructuredPullConsumer_var(
        CosNotifyComm::StructuredPullConsumer::_unchecked_narrow(other.in()));
    const auto supplier = CosNotifyComm::StructuredPushSupplier_var(
        CosNotifyComm::StructuredPushSupplier::_unchecked_narrow(other.in()));
    const auto callback = CosNotifyComm::NotifySubscribe_var(
        CosNotifyComm::NotifySubscribe::_unchecked_narrow(other.in()));
    allowed_.allowCalls(false);
    EXPECT_THROW(proxy->connect_structured_push_consumer(pushed.in()), CORBA::NO_PERMISSION);
    EXPECT_THROW(pulled->connect_structured_pull_consumer(pulling.in()), CORBA::NO_PERMISSION);
    EXPECT_THROW(intake->connect_structured_push_supplier(supplier.in()), CORBA::NO_PERMISSION);
    EXPECT_THROW(filter->attach_callback(callback.in()), CORBA::NO_PERMISSION);
    pulled->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
    intake->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());

    allowed_.allowCalls(true);
    proxy->connect_structured_push_consumer(pushed.in());
    push(1, 1);
    EXPECT_TRUE(gets(consumer, 1)) << "the refused attempt has left the proxy unconnected";
}

TEST_F(GuardedChannel, RefusesEveryOperationExceptAnEndToAnAddressWithoutPermission) {
    const EventChannel_var channel = channelFrom(a_);
    const ConsumerAdmin_var consumers = consumersFrom(a_);
    const SupplierAdmin_var suppliers = suppliersFrom(a_);
    const CosNotifyFilter::FilterFactory_var filters = filtersFrom(a_);
    const CosNotifyFilter::Filter_var filter = filterFrom(a_);
    const StructuredProxyPushSupplier_var proxy = proxyFrom(a_);
    const StructuredProxyPushSupplier_var unconnected = proxyFrom(a_);
    const StructuredProxyPullSupplier_var pulled = pullProxyFrom(a_);
    const StructuredProxyPushConsumer_var intake = intakeFrom(a_);
    StructuredConsumer& consumer = make<StructuredConsumer>();
    connect(proxy.in(), consumer);
    const CORBA::Object_var other = remote(make<StructuredConsumer>());
    const CosNotifyComm::StructuredPushConsumer_var otherConsumer =
        CosNotifyComm::StructuredPushConsumer::_narrow(other.in());
    pulled->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
    intake->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());

    ProxyID proxyId = 0;
    AdminID adminId = 0;
    CORBA::Boolean hasEvent = false;
    CORBA::Object_var made;
    CosNotification::StructuredEvent_var event;
    const CosNotification::EventTypeSeq none;
    const CosNotification::QoSProperties noQos;
    const CosNotification::AdminProperties noLimits;
    const std::vector<std::pair<const char*, std::function<void()>>> calls = {
        {"default_consumer_admin", [&] { made = channel->default_consumer_admin(); }},
        {"default_supplier_admin", [&] { made = channel->default_supplier_admin(); }},
        {"default_filter_factory", [&] { made = channel->default_filter_factory(); }},
        {"new_for_consumers", [&] { made = channel->new_for_consumers(AND_OP, adminId); }},
        {"new_for_suppliers", [&] { made = channel->new_for_suppliers(AND_OP, adminId); }},
        {"get_consumeradmin", [&] { made = channel->get_consumeradmin(0); }},
        {"set_admin", [&] { channel->set_admin(noLimits); }},
        {"set_qos of the channel", [&] { channel->set_qos(noQos); }},
        {"obtain a push supplier",
         [&] { made = consumers->obtain_notification_push_supplier(STRUCTURED_EVENT, proxyId); }},
        {"obtain a pull supplier",
         [&] { made = consumers->obtain_notification_pull_supplier(STRUCTURED_EVENT, proxyId); }},
        {"obtain a push consumer",
         [&] { made = suppliers->obtain_notification_push_consumer(STRUCTURED_EVENT, proxyId); }},
        {"get_proxy_supplier", [&] { made = consumers->get_proxy_supplier(1); }},
        {"destroy an admin", [&] { consumers->destroy(); }},
        {"connect a consumer",
         [&] { unconnected->connect_structured_push_consumer(otherConsumer.in()); }},
        {"suspend", [&] { proxy->suspend_connection(); }},
        {"resume", [&] { proxy->resume_connection(); }},
        {"set_qos of a proxy", [&] { proxy->set_qos(noQos); }},
        {"add_filter", [&] { proxy->add_filter(filter.in()); }},
        {"remove_all_filters", [&] { proxy->remove_all_filters(); }},
        {"subscription_change", [&] { proxy->subscription_change(none, none); }},
        {"pull", [&] { event = pulled->pull_structured_event(); }},
        {"try_pull", [&] { event = pulled->try_pull_structured_event(hasEvent); }},
        {"push", [&] { intake->push_structured_event(test::event("forged")); }},
        {"offer_change", [&] { intake->offer_change(none, none); }},
        {"create_filter", [&] { made = filters->create_filter("EXTENDED_TCL"); }},
        {"remove_all_constraints", [&] { filter->remove_all_constraints(); }},
        {"destroy a filter", [&] { filter->destroy(); }},
    };
    allowed_.forbid(kA);
    for (const auto& [name, call] : calls)
        EXPECT_THROW(call(), CORBA::NO_PERMISSION) << name;
    push(1, 1);
    ASSERT_TRUE(gets(consumer, 1));
    EXPECT_THAT(consumer.names(), ElementsAre("1")) << "nothing came in from the supplier";

    EXPECT_FALSE(proxy->_non_existent());
    proxy->disconnect_structured_push_supplier();
    pulled->disconnect_structured_pull_supplier();
    intake->disconnect_structured_push_consumer();
    EXPECT_TRUE(proxy->_non_existent());
    EXPECT_THAT(this->channel().consumers(), SizeIs(1)) << "the one that was never connected";
    EXPECT_NO_THROW(proxyFrom(b_)) << "another address";
    EXPECT_NO_THROW(structuredProxyInside()) << "this process";
    allowed_.allow(kA);
    EXPECT_NO_THROW(unconnected->connect_structured_push_consumer(otherConsumer.in()))
        << "allowed again";
}

TEST_F(GuardedChannel, DropsAProxyWhenItsOwnersGraceIsOverAndNotBefore) {
    StructuredConsumer& logsOut = make<StructuredConsumer>();
    StructuredConsumer& stays = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var dropped = proxyFrom(a_);
    const StructuredProxyPushSupplier_var kept = proxyFrom(b_);
    connect(dropped.in(), logsOut);
    connect(kept.in(), stays);
    review(0ms);
    allowed_.forbid(kA);
    review(10s);
    review(10s + kGrace - 1ms);
    push(1, 1);
    ASSERT_TRUE(gets(logsOut, 1));
    EXPECT_FALSE(dropped->_non_existent());
    review(10s + kGrace);
    EXPECT_TRUE(dropped->_non_existent());
    push(2, 2);
    ASSERT_TRUE(gets(stays, 2));
    EXPECT_THAT(logsOut.names(), ElementsAre("1"));
    EXPECT_THAT(channel().consumers(), SizeIs(1));
    EXPECT_EQ(trace_.count("consumer 0/1 of 127.0.0.2 is dropped"), 1u);
    review(10s + 2 * kGrace);
    EXPECT_EQ(trace_.count("is dropped"), 1u);
    EXPECT_FALSE(kept->_non_existent());
}

TEST_F(GuardedChannel, KeepsAProxyWhoseOwnerIsBackWithinTheGrace) {
    const StructuredProxyPushSupplier_var proxy = proxyFrom(a_);
    allowed_.forbid(kA);
    review(0ms);
    allowed_.allow(kA);
    review(kGrace);
    EXPECT_FALSE(proxy->_non_existent());
    allowed_.forbid(kA);
    review(kGrace + 1s);
    review(2 * kGrace);
    EXPECT_FALSE(proxy->_non_existent()) << "the grace began anew";
    review(2 * kGrace + 1s);
    EXPECT_TRUE(proxy->_non_existent());
}

TEST_F(GuardedChannel, WhatADroppedConsumerLeavesBehindIsNoEventLoss) {
    StructuredConsumer& consumer = make<StructuredConsumer>();
    const StructuredProxyPushSupplier_var proxy = proxyFrom(a_);
    connect(proxy.in(), consumer);
    proxy->suspend_connection();
    push(1, 3);
    ASSERT_THAT(channel().consumers(), SizeIs(1));
    EXPECT_EQ(channel().consumers()[0].queued, 3u);
    allowed_.forbid(kA);
    letGracePass();
    EXPECT_THAT(channel().consumers(), IsEmpty());
    EXPECT_THAT(losses_.lost.names(), IsEmpty());
    EXPECT_TRUE(waitUntil([&] { return consumer.ended(); }))
        << "its disconnect operation is called";
}

TEST_F(GuardedChannel, EndsThePullThatADroppedConsumerWaitsIn) {
    const StructuredProxyPullSupplier_var proxy = pullProxyFrom(a_);
    proxy->connect_structured_pull_consumer(CosNotifyComm::StructuredPullConsumer::_nil());
    push(1, 1);
    std::promise<void> first;
    auto ended = std::async(std::launch::async, [&] {
        const CosNotification::StructuredEvent_var got = proxy->pull_structured_event();
        first.set_value();
        try {
            const CosNotification::StructuredEvent_var more = proxy->pull_structured_event();
        } catch (const CosEventComm::Disconnected&) {
            return true;
        } catch (const CORBA::SystemException&) {
            // the call came too late and was refused
            return true;
        }
        return false;
    });
    first.get_future().wait();
    allowed_.forbid(kA);
    letGracePass();
    EXPECT_TRUE(ended.get());
}

TEST_F(GuardedChannel, DropsASuppliersProxyToo) {
    const StructuredProxyPushConsumer_var intake = intakeFrom(a_);
    const StructuredProxyPushConsumer_var other = intakeFrom(b_);
    intake->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
    allowed_.forbid(kA);
    letGracePass();
    EXPECT_TRUE(intake->_non_existent());
    EXPECT_FALSE(other->_non_existent());
    EXPECT_EQ(trace_.count("supplier 0/1 of 127.0.0.2 is dropped"), 1u);
}

TEST_F(GuardedChannel, AProxyStaysWithThePeerThatObtainedIt) {
    const StructuredProxyPushSupplier_var obtained = proxyFrom(a_);
    const StructuredProxyPushSupplier_var handedOn =
        from<StructuredProxyPushSupplier>(b_, obtained.in());
    StructuredConsumer& consumer = make<StructuredConsumer>();
    EXPECT_THROW(connect(handedOn.in(), consumer), CORBA::NO_PERMISSION);
    EXPECT_THROW(handedOn->disconnect_structured_push_supplier(), CORBA::NO_PERMISSION);
    allowed_.forbid(kB);
    letGracePass();
    EXPECT_FALSE(obtained->_non_existent());
    allowed_.forbid(kA);
    letGracePass();
    EXPECT_TRUE(obtained->_non_existent());
}

TEST_F(GuardedChannel, ProxiesOfOtherAdminsAreDroppedAsWell) {
    const EventChannel_var channel = channelFrom(a_);
    AdminID id = 0;
    const ConsumerAdmin_var made = channel->new_for_consumers(OR_OP, id);
    const ConsumerAdmin_var admin = from<ConsumerAdmin>(a_, made.in());
    ProxyID proxyId = 0;
    const ProxySupplier_var proxy = admin->obtain_notification_push_supplier(ANY_EVENT, proxyId);
    allowed_.forbid(kA);
    letGracePass();
    EXPECT_TRUE(proxy->_non_existent());
    EXPECT_EQ(trace_.count("consumer " + std::to_string(id) + "/1 of 127.0.0.2 is dropped"), 1u);
}

TEST_F(GuardedChannel, ProxiesMadeInsideTheProcessStay) {
    const StructuredProxyPushSupplier_var proxy = structuredProxyInside();
    letGracePass();
    EXPECT_FALSE(proxy->_non_existent());
}

TEST_F(GuardedChannel, DropsProxiesWhileEventsAndOtherCallersComeAndGo) {
    channel();
    std::atomic<bool> ended{false};
    auto pushing = std::async(std::launch::async, [&] {
        for (int i = 1; !ended; ++i)
            push(i, i);
    });
    auto connecting = std::async(std::launch::async, [&] {
        while (!ended) {
            try {
                StructuredConsumer& consumer = make<StructuredConsumer>();
                const StructuredProxyPushSupplier_var proxy = proxyFrom(a_);
                connect(proxy.in(), consumer);
                proxy->disconnect_structured_push_supplier();
            } catch (const CORBA::Exception&) {
                // refused, or dropped meanwhile
            }
        }
    });
    for (int i = 0; i < 50; ++i) {
        allowed_.forbid(kA);
        letGracePass();
        allowed_.allow(kA);
    }
    ended = true;
    pushing.get();
    connecting.get();
    allowed_.forbid(kA);
    letGracePass();
    EXPECT_THAT(channel().consumers(), IsEmpty());
}

using ChannelObjects = ChannelFixture;

TEST_F(ChannelObjects, HaveRandomKeys) {
    constexpr std::size_t kRandomBytes = 16;
    std::set<std::string> ids;
    std::size_t objects = 0;
    const auto note = [&](CORBA::Object_ptr object) {
        kelp::orb::ReferenceContent content;
        ASSERT_TRUE(kelp::orb::describe(orb_.orb(), object, content));
        ASSERT_GT(content.objectKey.size(), kRandomBytes);
        ids.insert(content.objectKey.substr(content.objectKey.size() - kRandomBytes));
        ++objects;
    };
    for (int made = 0; made < 2; ++made) {
        const EventChannel_var reference = channel().reference();
        const ConsumerAdmin_var consumerAdmin = reference->default_consumer_admin();
        const SupplierAdmin_var supplierAdmin = reference->default_supplier_admin();
        const CosNotifyFilter::FilterFactory_var factory = reference->default_filter_factory();
        note(reference.in());
        note(consumerAdmin.in());
        note(supplierAdmin.in());
        note(factory.in());
        for (int i = 0; i < 20; ++i) {
            ProxyID id = 0;
            const ProxySupplier_var proxy =
                consumerAdmin->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
            const CosNotifyFilter::Filter_var filter = factory->create_filter("EXTENDED_TCL");
            note(proxy.in());
            note(filter.in());
        }
        channel_.reset();
    }
    EXPECT_EQ(ids.size(), objects);
    for (std::size_t byte = 0; byte < kRandomBytes; ++byte) {
        std::set<char> values;
        for (const std::string& id : ids)
            values.insert(id[byte]);
        EXPECT_GT(values.size(), 10u)
            << "byte " << byte << " of " << ids.size() << " ids hardly changes";
    }
}

TEST_F(ChannelObjects, AreNotFoundUnderAnotherKey) {
    const EventChannel_var own = channel().reference();
    kelp::orb::ReferenceContent content;
    ASSERT_TRUE(kelp::orb::describe(orb_.orb(), own.in(), content));
    content.objectKey.back() = static_cast<char>(content.objectKey.back() ^ 1);
    const CORBA::Object_var neighbour =
        orb_.overTheWireByKey(kelp::test::escapedKey(content.objectKey));
    EXPECT_TRUE(neighbour->_non_existent());
    const CORBA::Object_var itself = orb_.overTheWire(own.in());
    EXPECT_FALSE(itself->_non_existent());
}

}  // namespace
}  // namespace kelp::notification::test
