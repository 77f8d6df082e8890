// Changes from many threads while peers connect and leave.

#include <cos/CosNotifyFilter.h>

#include <random>
#include <thread>

#include "changes_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;

class StressOfChanges : public ChangesFixture {
  protected:
    static constexpr int kRounds = 300;

    /// Return some type, and now and then all types.
    static const char* any(std::mt19937& random) {
        static constexpr const char* kPool[] = {"A", "B", "C", "D", "E", "%ALL"};
        return kPool[random() % std::size(kPool)];
    }
    void supply(unsigned seed) {
        std::mt19937 random(seed);
        IntakeProxy proxy = intake();
        for (int i = 0; i < kRounds; ++i) {
            proxy->offer_change(typesOf({any(random)}), typesOf({any(random)}));
            if (random() % 10 != 0)
                continue;
            proxy->disconnect_structured_push_consumer();
            proxy = intake();
        }
        proxy->disconnect_structured_push_consumer();
    }
    void consume(unsigned seed, StructuredNoted& consumer) {
        std::mt19937 random(seed);
        const auto reference = CosNotifyComm::StructuredPushConsumer_var(
            referenceTo<CosNotifyComm::StructuredPushConsumer>(consumer));
        for (int i = 0; i < kRounds; ++i) {
            const PushProxy proxy = structuredProxy();
            proxy->subscription_change(typesOf({any(random)}), typesOf({}));
            (void)offered(proxy, random() % 4 == 0 ? ALL_NOW_UPDATES_OFF : ALL_NOW_UPDATES_ON);
            proxy->connect_structured_push_consumer(reference.in());
            proxy->subscription_change(typesOf({any(random)}), typesOf({any(random)}));
            proxy->disconnect_structured_push_supplier();
        }
    }
    void filter(unsigned seed, Callback& callback) {
        std::mt19937 random(seed);
        const EventChannel_var remote = remoteChannel();
        const CosNotifyFilter::FilterFactory_var factory = remote->default_filter_factory();
        const auto reference = CosNotifyComm::NotifySubscribe_var(
            referenceTo<CosNotifyComm::NotifySubscribe>(callback));
        for (int i = 0; i < kRounds / 5; ++i) {
            const CosNotifyFilter::Filter_var made = factory->create_filter("EXTENDED_TCL");
            const CosNotifyFilter::CallbackID id = made->attach_callback(reference.in());
            CosNotifyFilter::ConstraintExpSeq expressions;
            expressions.length(1);
            for (int j = 0; j < 5; ++j) {
                expressions[0].event_types = typesOf({any(random)});
                const CosNotifyFilter::ConstraintInfoSeq_var added =
                    made->add_constraints(expressions);
            }
            if (random() % 2 == 0)
                made->detach_callback(id);
            made->destroy();
        }
    }
    template <class List>
    static bool addsUp(const Names& known, const Noted& peer, List list) {
        return kelp::test::waitUntil([&] {
            Names names = known;
            for (const Notice& each : peer.notices()) {
                names.insert(each.added.begin(), each.added.end());
                for (const std::string& name : each.removed)
                    names.erase(name);
            }
            return names == list();
        });
    }
};

TEST_F(StressOfChanges, LeavesRemainingPeersWithTheCompleteTypes) {
    StructuredNoted& consumer = make<StructuredNoted>();
    const PushProxy out = structuredProxy();
    connectTo(out, consumer);
    out->subscription_change(typesOf({"STAYS"}), typesOf({}));
    StructuredSupplier& supplier = make<StructuredSupplier>();
    const IntakeProxy in = intake();
    connectTo(in, supplier);
    in->offer_change(typesOf({"STAYS"}), typesOf({}));
    const Names knownOffers = offered(out, ALL_NOW_UPDATES_ON);
    const Names knownSubscriptions = subscribed(in, ALL_NOW_UPDATES_ON);
    {
        std::vector<std::jthread> threads;
        for (unsigned i = 0; i < 2; ++i) {
            StructuredNoted& guest = make<StructuredNoted>();
            Callback& callback = make<Callback>();
            threads.emplace_back([this, i] { supply(i); });
            threads.emplace_back([this, i, &guest] { consume(i, guest); });
            threads.emplace_back([this, i, &callback] { filter(i, callback); });
        }
    }
    const PushProxy reader = structuredProxy();
    EXPECT_TRUE(
        addsUp(knownOffers, consumer, [&] { return offered(reader, ALL_NOW_UPDATES_OFF); }));
    EXPECT_EQ(offered(reader, ALL_NOW_UPDATES_OFF), Names({"d/STAYS"}));
    reader->disconnect_structured_push_supplier();
    const IntakeProxy otherReader = intake();
    EXPECT_TRUE(addsUp(knownSubscriptions, supplier,
                       [&] { return subscribed(otherReader, ALL_NOW_UPDATES_OFF); }));
    EXPECT_EQ(subscribed(otherReader, ALL_NOW_UPDATES_OFF), Names({"d/STAYS"}));
    EXPECT_FALSE(consumer.notices().empty());
    EXPECT_FALSE(supplier.notices().empty());
}

}  // namespace
}  // namespace kelp::notification::test
