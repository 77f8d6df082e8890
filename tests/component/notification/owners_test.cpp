// Owners of a channel's objects: who finds and calls the objects, and when they end.

#include "guarded_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using kelp::test::waitUntil;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

template <class Sequence>
std::vector<int> numbers(const Sequence& ids) {
    std::vector<int> all;
    for (CORBA::ULong i = 0; i < ids.length(); ++i)
        all.push_back(ids[i]);
    return all;
}

/// Two NMS at one address, each with a separate connection.
class Owners : public GuardedFixture {
  protected:
    Owners() {
        allowed_.nextConnectionsAreOf({"one"});
        channelFrom(one_)->MyFactory();
        allowed_.nextConnectionsAreOf({"two"});
        channelFrom(two_)->MyFactory();
        allowed_.nextConnectionsAreOf({});
    }

    const TcpRelay one_{orb_.port(), kA};
    const TcpRelay two_{orb_.port(), kA};
    const TcpRelay unknown_{orb_.port(), kA};
};

TEST_F(Owners, FindTheirOwnAdminsAndTheDefaultOnesOnly) {
    AdminID id = 0;
    const ConsumerAdmin_var admin = newAdminFrom(one_, &id);
    for (const TcpRelay* other : {&two_, &unknown_, &b_}) {
        const EventChannel_var channel = channelFrom(*other);
        EXPECT_THROW(ConsumerAdmin_var(channel->get_consumeradmin(id)), AdminNotFound);
        EXPECT_THAT(numbers(AdminIDSeq_var(channel->get_all_consumeradmins()).in()),
                    ElementsAre(0));
        EXPECT_THAT(numbers(AdminIDSeq_var(channel->get_all_supplieradmins()).in()),
                    ElementsAre(0));
    }
    const EventChannel_var channel = channelFrom(one_);
    EXPECT_NO_THROW(ConsumerAdmin_var(channel->get_consumeradmin(id)));
    EXPECT_THAT(numbers(AdminIDSeq_var(channel->get_all_consumeradmins()).in()),
                ElementsAre(0, id));
    const EventChannel_var inside = this->channel().reference();
    EXPECT_THAT(numbers(AdminIDSeq_var(inside->get_all_consumeradmins()).in()), ElementsAre(0, id));
}

TEST_F(Owners, FindTheirOwnProxiesOfTheDefaultAdminOnly) {
    ProxyID id = 0;
    const StructuredProxyPushSupplier_var proxy = proxyFrom(one_, &id);
    const StructuredProxyPullSupplier_var pulled = pullProxyFrom(one_);
    for (const TcpRelay* other : {&two_, &unknown_, &b_}) {
        const ConsumerAdmin_var admin = consumersFrom(*other);
        EXPECT_THROW(ProxySupplier_var(admin->get_proxy_supplier(id)), ProxyNotFound);
        EXPECT_THAT(numbers(ProxyIDSeq_var(admin->push_suppliers()).in()), IsEmpty());
        EXPECT_THAT(numbers(ProxyIDSeq_var(admin->pull_suppliers()).in()), IsEmpty());
    }
    const ConsumerAdmin_var admin = consumersFrom(one_);
    EXPECT_NO_THROW(ProxySupplier_var(admin->get_proxy_supplier(id)));
    EXPECT_THAT(numbers(ProxyIDSeq_var(admin->push_suppliers()).in()), ElementsAre(id));
    EXPECT_THAT(numbers(ProxyIDSeq_var(admin->pull_suppliers()).in()), SizeIs(1));
}

TEST_F(Owners, CallTheirOwnObjectsOnlyWhateverReferencesTheyHave) {
    const ConsumerAdmin_var admin = newAdminFrom(one_);
    const StructuredProxyPushSupplier_var proxy = proxyFrom(one_);
    CosNotifyFilter::Filter_var handedOn;
    const CosNotifyFilter::Filter_var filter = filterFrom(one_, &handedOn);
    StructuredConsumer& consumer = make<StructuredConsumer>();
    connect(proxy.in(), consumer);
    for (const TcpRelay* other : {&two_, &b_}) {
        const auto stolenAdmin = from<ConsumerAdmin>(*other, admin.in());
        const auto stolenProxy = from<StructuredProxyPushSupplier>(*other, proxy.in());
        const auto stolenFilter = from<CosNotifyFilter::Filter>(*other, filter.in());
        EXPECT_THROW(stolenAdmin->destroy(), CORBA::NO_PERMISSION);
        EXPECT_THROW(stolenAdmin->MyID(), CORBA::NO_PERMISSION);
        EXPECT_THROW(stolenProxy->suspend_connection(), CORBA::NO_PERMISSION);
        EXPECT_THROW(stolenProxy->disconnect_structured_push_supplier(), CORBA::NO_PERMISSION);
        EXPECT_THROW(stolenFilter->destroy(), CORBA::NO_PERMISSION);
        EXPECT_THROW(stolenFilter->remove_all_constraints(), CORBA::NO_PERMISSION);
        EXPECT_THROW(CosNotifyFilter::ConstraintInfoSeq_var(stolenFilter->get_all_constraints()),
                     CORBA::NO_PERMISSION);
        const StructuredProxyPushSupplier_var own = proxyFrom(*other);
        EXPECT_THROW(own->add_filter(handedOn.in()), CORBA::NO_PERMISSION) << "a filter of another";
    }
    push(1, 1);
    EXPECT_TRUE(gets(consumer, 1));
    EXPECT_NO_THROW(proxy->suspend_connection());
    EXPECT_NO_THROW(admin->destroy());
    EXPECT_NO_THROW(filter->destroy());
}

TEST_F(Owners, MayCallOverAConnectionOfTheirAddressThatIsNobodyElses) {
    const StructuredProxyPushSupplier_var proxy = proxyFrom(one_);
    const auto another = from<StructuredProxyPushSupplier>(unknown_, proxy.in());
    StructuredConsumer& consumer = make<StructuredConsumer>();
    connect(another.in(), consumer);
    push(1, 1);
    EXPECT_TRUE(gets(consumer, 1)) << "an ORB opens a second connection when it likes";
}

TEST_F(Owners, LoseEverythingWhenTheirLogInHasEnded) {
    AdminID id = 0;
    const ConsumerAdmin_var admin = newAdminFrom(one_, &id);
    const StructuredProxyPushSupplier_var proxy = proxyFrom(one_);
    const StructuredProxyPushSupplier_var grouped = proxyOf(one_, admin.in());
    CosNotifyFilter::Filter_var handedOn;
    const CosNotifyFilter::Filter_var filter = filterFrom(one_, &handedOn);
    const StructuredProxyPushSupplier_var neighbours = proxyFrom(two_);
    StructuredConsumer& consumer = make<StructuredConsumer>();
    StructuredConsumer& neighbour = make<StructuredConsumer>();
    connect(proxy.in(), consumer);
    connect(neighbours.in(), neighbour);
    grouped->add_filter(handedOn.in());
    allowed_.end("one");
    review(std::chrono::milliseconds(0));
    EXPECT_FALSE(proxy->_non_existent()) << "it has its grace";
    review(kGrace);
    EXPECT_TRUE(proxy->_non_existent());
    EXPECT_TRUE(grouped->_non_existent());
    EXPECT_TRUE(admin->_non_existent());
    EXPECT_TRUE(filter->_non_existent());
    EXPECT_TRUE(waitUntil([&] { return consumer.ended(); }))
        << "the disconnect operation of a consumer that answers is called";
    push(1, 1);
    EXPECT_TRUE(gets(neighbour, 1)) << "the other log-in of the address goes on";
    EXPECT_THAT(channel().consumers(), SizeIs(1));
    EXPECT_EQ(trace_.count("is dropped: the log-in of user one has ended"), 2u);
    EXPECT_EQ(trace_.count("1 admins and 1 filters of user one are dropped with it"), 1u);
}

TEST_F(Owners, KeepTheirObjectsIfTheyLogInAgainAndUseAProxy) {
    const ConsumerAdmin_var admin = newAdminFrom(one_);
    const StructuredProxyPushSupplier_var proxy = proxyOf(one_, admin.in());
    const CosNotifyFilter::Filter_var filter = filterFrom(one_);
    allowed_.end("one");
    review(std::chrono::milliseconds(0));
    allowed_.logInOver("one", "one again");
    EXPECT_NO_THROW(CosNotification::QoSProperties_var(proxy->get_qos()));
    review(kGrace);
    review(2 * kGrace);
    EXPECT_FALSE(proxy->_non_existent());
    EXPECT_FALSE(admin->_non_existent());
    EXPECT_FALSE(filter->_non_existent());
    EXPECT_THAT(numbers(ProxyIDSeq_var(admin->push_suppliers()).in()), SizeIs(1))
        << "it is shown to its heir";
    allowed_.end("one again");
    letGracePass();
    EXPECT_TRUE(proxy->_non_existent());
}

TEST_F(Owners, ThatHaveLoggedOutAreRefusedAlthoughTheirAddressIsNot) {
    const EventChannel_var channel = channelFrom(one_);
    const StructuredProxyPushSupplier_var proxy = proxyFrom(one_);
    AdminID id = 0;
    allowed_.end("one");
    EXPECT_THROW(ConsumerAdmin_var(channel->new_for_consumers(AND_OP, id)), CORBA::NO_PERMISSION);
    EXPECT_THROW(proxy->suspend_connection(), CORBA::NO_PERMISSION);
    EXPECT_NO_THROW(proxy->disconnect_structured_push_supplier()) << "its end is always taken";
}

TEST_F(Owners, AnAdminAndAFilterThatOthersUseOutliveTheirOwner) {
    const ConsumerAdmin_var admin = newAdminFrom(one_);
    CosNotifyFilter::Filter_var handedOn;
    const CosNotifyFilter::Filter_var filter = filterFrom(one_, &handedOn);
    CosNotifyFilter::ConstraintExpSeq all;
    all.length(1);
    all[0].constraint_expr = CORBA::string_dup("TRUE");
    const CosNotifyFilter::ConstraintInfoSeq_var added = filter->add_constraints(all);
    // a process at the same address without a known log-in
    const StructuredProxyPushSupplier_var proxy = proxyFrom(unknown_);
    proxy->add_filter(handedOn.in());
    StructuredConsumer& consumer = make<StructuredConsumer>();
    connect(proxy.in(), consumer);
    allowed_.end("one");
    letGracePass();
    push(1, 1);
    EXPECT_TRUE(gets(consumer, 1));
    EXPECT_FALSE(filter->_non_existent());
    EXPECT_TRUE(admin->_non_existent()) << "nobody uses it";
    proxy->disconnect_structured_push_supplier();
    letGracePass();
    EXPECT_TRUE(filter->_non_existent());
}

}  // namespace
}  // namespace kelp::notification::test
