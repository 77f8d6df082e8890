// An alarm storm while consumers randomly connect, leave, die, filter, wait and change their
// settings.

#include <cos/CosNotifyFilter.h>
#include <kelp/orb/exception_text.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <random>
#include <thread>
#include <utility>

#include "channel_fixture.h"

namespace kelp::notification::test {
namespace {

using namespace CosNotifyChannelAdmin;
using Clock = std::chrono::steady_clock;

/// 3 s by default. The sanitizer runs set a minute.
std::chrono::seconds stressTime() {
    const char* wanted = std::getenv("KELP_STRESS_SECONDS");
    return std::chrono::seconds(wanted != nullptr ? std::atoi(wanted) : 3);
}

/// Counts the events instead of keeping them, and checks the order of their numbers.
class Counter {
  public:
    void count(const CosNotification::StructuredEvent& event) {
        const int number = std::stoi(nameOf(event));
        if (number <= last_.exchange(number))
            inOrder = false;
        ++got;
    }
    std::atomic<int> got{0};
    std::atomic<bool> inOrder{true};

  private:
    std::atomic<int> last_{0};
};

class CountingConsumer final : public POA_CosNotifyComm::StructuredPushConsumer, public Counter {
  public:
    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        count(event);
    }
    void disconnect_structured_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
};

class CountingBatches final : public POA_CosNotifyComm::SequencePushConsumer, public Counter {
  public:
    void push_structured_events(const CosNotification::EventBatch& batch) override {
        for (CORBA::ULong i = 0; i < batch.length(); ++i)
            count(batch[i]);
    }
    void disconnect_sequence_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}
};

class Stress : public ChannelFixture {
  protected:
    Stress() {
        settings_.queueEventsMax = 500;
        settings_.delivery.pushTimeout = std::chrono::seconds(5);
        settings_.delivery.deadAfter = std::chrono::milliseconds(500);
        settings_.perAddress.consumers =
            // proxies whose consumers have stopped pulling remain for a while
            100000;
    }
};

/// One NMS with a random action at every step. All its calls go over connections.
class RestlessNms {
  public:
    RestlessNms(ConsumerAdmin_ptr admin, CosNotifyFilter::FilterFactory_ptr filters,
                PortableServer::POA_ptr poa,
                std::function<CORBA::Object_ptr(CORBA::Object_ptr)> overTheWire, unsigned seed)
        : admin_(ConsumerAdmin::_duplicate(admin)),
          filters_(CosNotifyFilter::FilterFactory::_duplicate(filters)),
          poa_(PortableServer::POA::_duplicate(poa)),
          overTheWire_(std::move(overTheWire)),
          random_(seed) {}

    /// Run until `end`. True if all events arrived in order.
    bool run(Clock::time_point end) {
        while (Clock::now() < end) {
            try {
                const int kind = below(6);
                if (kind == 0)
                    withPulls(end);
                else if (kind == 1)
                    withBatches(end);
                else
                    withSingleEvents(end);
            } catch (const CORBA::OBJECT_NOT_EXIST&) {
                // its proxy was removed because its consumer had died
            } catch (const CosEventComm::Disconnected&) {
                // its proxy was removed during the call
            }
        }
        return inOrder_;
    }

  private:
    using FilterFactory_var = CosNotifyFilter::FilterFactory_var;

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

    void withSingleEvents(Clock::time_point end) {
        auto* servant = new CountingConsumer;
        const PortableServer::ServantBase_var owned = servant;
        const CORBA::Object_var object = activated(servant);
        const CosNotifyComm::StructuredPushConsumer_var consumer =
            CosNotifyComm::StructuredPushConsumer::_narrow(object.in());
        ProxyID id = 0;
        const ProxySupplier_var made =
            admin_->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
        const StructuredProxyPushSupplier_var proxy =
            StructuredProxyPushSupplier::_narrow(made.in());
        proxy->connect_structured_push_consumer(consumer.in());
        const bool dies = below(4) == 0;
        for (int steps = below(12); steps > 0 && Clock::now() < end; --steps)
            step(*proxy.in());
        if (dies)
            deactivate(servant);
        else
            proxy->disconnect_structured_push_supplier();
        inOrder_ = inOrder_ && servant->inOrder;
        if (!dies)
            deactivate(servant);
    }
    void withBatches(Clock::time_point end) {
        auto* servant = new CountingBatches;
        const PortableServer::ServantBase_var owned = servant;
        const CORBA::Object_var object = activated(servant);
        const CosNotifyComm::SequencePushConsumer_var consumer =
            CosNotifyComm::SequencePushConsumer::_narrow(object.in());
        ProxyID id = 0;
        const ProxySupplier_var made =
            admin_->obtain_notification_push_supplier(SEQUENCE_EVENT, id);
        const SequenceProxyPushSupplier_var proxy = SequenceProxyPushSupplier::_narrow(made.in());
        proxy->set_qos(property(CosNotification::MaximumBatchSize, CORBA::Long(1 + below(50))));
        proxy->set_qos(property(CosNotification::PacingInterval,
                                CORBA::ULongLong(10'000u) * CORBA::ULongLong(below(50))));
        proxy->connect_sequence_push_consumer(consumer.in());
        for (int steps = below(12); steps > 0 && Clock::now() < end; --steps)
            step(*proxy.in());
        proxy->disconnect_sequence_push_supplier();
        inOrder_ = inOrder_ && servant->inOrder;
        deactivate(servant);
    }

    void withPulls(Clock::time_point end) {
        ProxyID id = 0;
        const ProxySupplier_var made =
            admin_->obtain_notification_pull_supplier(SEQUENCE_EVENT, id);
        const SequenceProxyPullSupplier_var proxy = SequenceProxyPullSupplier::_narrow(made.in());
        proxy->set_qos(property(CosNotification::MaximumBatchSize, CORBA::Long(1 + below(50))));
        proxy->set_qos(property(CosNotification::Timeout,
                                CORBA::ULongLong(10'000u) * CORBA::ULongLong(below(20))));
        proxy->connect_sequence_pull_consumer(CosNotifyComm::SequencePullConsumer::_nil());
        Counter counter;
        for (int pulls = below(30); pulls > 0 && Clock::now() < end; --pulls) {
            CORBA::Boolean has = false;
            const CosNotification::EventBatch_var batch =
                proxy->try_pull_structured_events(100, has);
            for (CORBA::ULong i = 0; i < batch->length(); ++i)
                counter.count(std::as_const(*batch.operator->())[i]);
            if (below(10) == 0)
                proxy->set_qos(property(CosNotification::PacingInterval,
                                        CORBA::ULongLong(10'000u) * CORBA::ULongLong(below(5))));
        }
        // otherwise the channel drops the proxy some time after the last pull
        if (below(2) == 0)
            proxy->disconnect_sequence_pull_supplier();
        inOrder_ = inOrder_ && counter.inOrder;
    }

    template <class Proxy>
    void step(Proxy& proxy) {
        switch (below(7)) {
            case 0:
                addFilter(proxy);
                break;
            case 1:
                proxy.remove_all_filters();
                break;
            case 2:
                proxy.set_qos(
                    property(CosNotification::MaxEventsPerConsumer, CORBA::Long(1 + below(200))));
                break;
            case 3:
                suspendAndResume(proxy);
                break;
            case 4:
                proxy.subscription_change(types("tmf_mtnm", "NT_ALARM"),
                                          CosNotification::EventTypeSeq());
                break;
            case 5:
                proxy.subscription_change(CosNotification::EventTypeSeq(),
                                          types("tmf_mtnm", "NT_ALARM"));
                break;
            default:
                std::this_thread::yield();
        }
    }
    template <class Proxy>
    void addFilter(Proxy& proxy) {
        const CosNotifyFilter::Filter_var filter = filters_->create_filter("EXTENDED_TCL");
        CosNotifyFilter::ConstraintExpSeq constraints;
        constraints.length(1);
        constraints[0].constraint_expr =
            CORBA::string_dup(below(2) == 0 ? "$type_name == 'NT_ALARM'"
                                            : "exist $notificationId and $notificationId != '7'");
        const CosNotifyFilter::ConstraintInfoSeq_var added = filter->add_constraints(constraints);
        const CosNotifyFilter::FilterID id = proxy.add_filter(filter.in());
        if (below(2) == 0)
            proxy.remove_filter(id);
        if (below(2) == 0)
            filter->destroy();
    }
    template <class Proxy>
    void suspendAndResume(Proxy& proxy) {
        try {
            proxy.suspend_connection();
            std::this_thread::yield();
            proxy.resume_connection();
        } catch (const NotConnected&) {
            // its consumer had died
        }
    }
    CORBA::Object_ptr activated(PortableServer::Servant servant) {
        const PortableServer::ObjectId_var id = poa_->activate_object(servant);
        const CORBA::Object_var own = poa_->id_to_reference(id.in());
        return overTheWire_(own.in());
    }
    void deactivate(PortableServer::Servant servant) {
        const PortableServer::ObjectId_var id = poa_->servant_to_id(servant);
        poa_->deactivate_object(id.in());
    }

    const ConsumerAdmin_var admin_;
    const FilterFactory_var filters_;
    const PortableServer::POA_var poa_;
    const std::function<CORBA::Object_ptr(CORBA::Object_ptr)> overTheWire_;
    std::mt19937 random_;
    bool inOrder_ = true;
};

TEST_F(Stress, LosesNoEventOfASteadyConsumerAndCountsCorrectly) {
    const Clock::time_point end = Clock::now() + stressTime();
    const unsigned seed = std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    auto& steady = make<CountingConsumer>();
    const StructuredProxyPushSupplier_var steadyProxy = structuredProxy();
    const CORBA::Object_var steadyObject = remote(steady);
    const CosNotifyComm::StructuredPushConsumer_var steadyReference =
        CosNotifyComm::StructuredPushConsumer::_narrow(steadyObject.in());
    steadyProxy->connect_structured_push_consumer(steadyReference.in());
    const EventChannel_var remoteReference = remoteChannel();
    const ConsumerAdmin_var admin = remoteReference->default_consumer_admin();
    const CosNotifyFilter::FilterFactory_var filters = remoteReference->default_filter_factory();

    std::atomic<int> pushed{0};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
        while (Clock::now() < end) {
            // keep the backlog of the steady consumer below its queue's limit
            if (pushed - steady.got > 400) {
                std::this_thread::yield();
                continue;
            }
            channel().push(
                event(std::to_string(pushed + 1), pushed % 3 == 0 ? "NT_TCA" : "NT_ALARM"));
            ++pushed;
        }
    });
    std::atomic<bool> countsTrue{true};
    threads.emplace_back([&] {
        while (Clock::now() < end) {
            for (const ConsumerCounts& each : channel().consumers())
                if (each.sent != each.delivered + each.lost + each.queued)
                    countsTrue = false;
            (void)channel().isDrained();
            channel().review(Clock::now());
            std::this_thread::yield();
        }
    });
    std::atomic<bool> inOrder{true};
    for (unsigned i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            const auto wire = [this](CORBA::Object_ptr own) { return orb_.overTheWire(own); };
            RestlessNms nms(admin.in(), filters.in(), orb_.root(), wire, seed + i);
            try {
                if (!nms.run(end))
                    inOrder = false;
            } catch (const CORBA::Exception& failure) {
                ADD_FAILURE() << "seed " << seed << ": " << kelp::orb::exceptionText(failure);
            }
        });
    }
    for (std::thread& each : threads)
        each.join();
    EXPECT_TRUE(kelp::test::waitUntil([&] { return steady.got == pushed; }))
        << steady.got << " of " << pushed << ", seed " << seed;
    EXPECT_TRUE(steady.inOrder);
    EXPECT_TRUE(inOrder) << "seed " << seed;
    EXPECT_TRUE(countsTrue);
    EXPECT_GT(pushed, 100);
}

}  // namespace
}  // namespace kelp::notification::test
