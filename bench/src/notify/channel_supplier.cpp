#include <kelp/notification/channel.h>
#include <kelp/orb/references.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "supplier.h"

namespace kelp::bench {

namespace {

using namespace CosNotifyChannelAdmin;
using namespace std::chrono_literals;

notification::ChannelSettings settings() {
    notification::ChannelSettings made;
    made.queueEventsMax = 2 * kMostWaiting;
    made.delivery.pushTimeout = 2s;
    return made;
}

/// Tells an outside supplier how many events wait. It uses an interface of the standard, so that
/// no IDL is needed for it.
class Gauge final : public POA_CosNotification::QoSAdmin {
  public:
    explicit Gauge(Supplier& supplier) : supplier_(supplier) {}
    CosNotification::QoSProperties* get_qos() override {
        CosNotification::QoSProperties_var answer = new CosNotification::QoSProperties(1);
        answer->length(1);
        answer[0].name = CORBA::string_dup("waiting");
        answer[0].value <<= static_cast<CORBA::ULong>(supplier_.waiting());
        return answer._retn();
    }
    void set_qos(const CosNotification::QoSProperties&) override { throw CORBA::NO_IMPLEMENT(); }
    void validate_qos(const CosNotification::QoSProperties&,
                      CosNotification::NamedPropertyRangeSeq_out) override {
        throw CORBA::NO_IMPLEMENT();
    }

  private:
    Supplier& supplier_;
};

class ChannelSupplier final : public Supplier {
  public:
    ChannelSupplier(CORBA::ORB_ptr orb, Kind kind, const std::vector<std::string>& consumers,
                    const std::vector<std::string>& badConsumers, const std::string& reconnecting)
        : orb_(CORBA::ORB::_duplicate(orb)),
          channel_(orb, settings(), nullptr),
          good_(consumers.size()) {
        const EventChannel_var channel = channel_.reference();
        admin_ = channel->default_consumer_admin();
        for (const std::string& each : consumers)
            connect(kind, each);
        for (const std::string& each : badConsumers)
            connect(kind, each);
        if (!reconnecting.empty())
            reconnecting_ =
                std::thread([this, kind, reconnecting] { reconnect(kind, reconnecting); });
    }
    ~ChannelSupplier() override {
        {
            const std::lock_guard guard(mutex_);
            ending_ = true;
        }
        changed_.notify_all();
        if (reconnecting_.joinable())
            reconnecting_.join();
    }
    void push(const CosNotification::StructuredEvent& event) override { channel_.push(event); }
    std::size_t waiting() override {
        // the good consumers were connected first
        std::size_t most = 0;
        const std::vector<notification::ConsumerCounts> counts = channel_.consumers();
        for (std::size_t i = 0; i < std::min(good_, counts.size()); ++i)
            most = std::max<std::size_t>(most, counts[i].queued);
        return most;
    }
    Outside outside() override {
        const EventChannel_var channel = channel_.reference();
        const SupplierAdmin_var admin = channel->default_supplier_admin();
        ProxyID id = 0;
        const ProxyConsumer_var proxy =
            admin->obtain_notification_push_consumer(STRUCTURED_EVENT, id);
        const StructuredProxyPushConsumer_var intake =
            StructuredProxyPushConsumer::_narrow(proxy.in());
        intake->connect_structured_push_supplier(CosNotifyComm::StructuredPushSupplier::_nil());
        const CORBA::Object_var rootObject = orb_->resolve_initial_references("RootPOA");
        const PortableServer::POA_var root = PortableServer::POA::_narrow(rootObject.in());
        const PortableServer::ObjectId_var gaugeId = root->activate_object(&gauge_);
        const CORBA::Object_var gauge = root->id_to_reference(gaugeId.in());
        const CORBA::String_var consumer = orb_->object_to_string(intake.in());
        const CORBA::String_var asked = orb_->object_to_string(gauge.in());
        return {consumer.in(), asked.in()};
    }

  private:
    ProxySupplier_ptr connect(Kind kind, const std::string& consumer) {
        const CORBA::Object_var object = kelp::orb::toReference(orb_.in(), consumer);
        ProxyID id = 0;
        if (kind == Kind::Structured) {
            const ProxySupplier_var proxy =
                admin_->obtain_notification_push_supplier(STRUCTURED_EVENT, id);
            const StructuredProxyPushSupplier_var own =
                StructuredProxyPushSupplier::_narrow(proxy.in());
            const CosNotifyComm::StructuredPushConsumer_var to =
                CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(object.in());
            own->connect_structured_push_consumer(to.in());
            return ProxySupplier::_duplicate(proxy.in());
        }
        const ProxySupplier_var proxy =
            admin_->obtain_notification_push_supplier(SEQUENCE_EVENT, id);
        const SequenceProxyPushSupplier_var own = SequenceProxyPushSupplier::_narrow(proxy.in());
        CosNotification::QoSProperties qos;
        qos.length(1);
        qos[0].name = CORBA::string_dup(CosNotification::MaximumBatchSize);
        qos[0].value <<= kBatch;
        own->set_qos(qos);
        const CosNotifyComm::SequencePushConsumer_var to =
            CosNotifyComm::SequencePushConsumer::_unchecked_narrow(object.in());
        own->connect_sequence_push_consumer(to.in());
        return ProxySupplier::_duplicate(proxy.in());
    }
    void reconnect(Kind kind, const std::string& consumer) {
        std::unique_lock lock(mutex_);
        do {
            const ProxySupplier_var proxy = connect(kind, consumer);
            changed_.wait_for(lock, 1s, [this] { return ending_; });
            if (kind == Kind::Structured) {
                const StructuredProxyPushSupplier_var own =
                    StructuredProxyPushSupplier::_narrow(proxy.in());
                own->disconnect_structured_push_supplier();
            } else {
                const SequenceProxyPushSupplier_var own =
                    SequenceProxyPushSupplier::_narrow(proxy.in());
                own->disconnect_sequence_push_supplier();
            }
        } while (!ending_);
    }

    const CORBA::ORB_var orb_;
    Gauge gauge_{*this};
    notification::Channel channel_;
    const std::size_t good_;
    ConsumerAdmin_var admin_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ending_ = false;
    std::thread reconnecting_;
};

}  // namespace

std::unique_ptr<Supplier> channelSupplier(CORBA::ORB_ptr orb, Kind kind,
                                          const std::vector<std::string>& consumers,
                                          const std::vector<std::string>& badConsumers,
                                          const std::string& reconnecting) {
    return std::make_unique<ChannelSupplier>(orb, kind, consumers, badConsumers, reconnecting);
}

}  // namespace kelp::bench
