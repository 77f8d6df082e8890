// The events of one NMS, in a separate process. It connects to the EMS's channel as a consumer of
// batches, counts the events of alarms that alarm_bench has posted, and answers orders on standard
// input:
//
//     reset    forget the events received so far; answers "ok"
//     report   answers "<events> <repeated or out of order> <p50 ns> <p99 ns>"
//
//     alarm_bench_consumer decoding|raw <reference of the channel>
//
// "decoding" is a servant of an ORB. "raw" reads the octets only; see RawConsumer.

#include <cos/CosNotifyChannelAdmin.h>
#include <cos/CosNotifyComm.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/orb.h>
#include <kelp/orb/references.h>

#include <iostream>
#include <optional>
#include <string>

#include "alarms/event_tally.h"
#include "alarms/raw_consumer.h"

namespace {

using namespace kelp::bench;

/// Events in a push at most. Without a pacing interval the EMS does not wait for a full batch.
constexpr CORBA::Long kBatchMax = 50;

class Batches final : public POA_CosNotifyComm::SequencePushConsumer {
  public:
    explicit Batches(EventTally& tally) : tally_(tally) {}
    void push_structured_events(const CosNotification::EventBatch& events) override {
        for (CORBA::ULong i = 0; i < events.length(); ++i)
            tally_.count(events[i]);
    }
    void disconnect_sequence_push_consumer() override {}
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

  private:
    EventTally& tally_;
};

void connect(CORBA::ORB_ptr orb, const std::string& consumer, const std::string& channelReference) {
    using namespace CosNotifyChannelAdmin;
    const CORBA::Object_var object = orb->string_to_object(consumer.c_str());
    const CosNotifyComm::SequencePushConsumer_var reference =
        CosNotifyComm::SequencePushConsumer::_unchecked_narrow(object.in());
    const CORBA::Object_var channelObject = kelp::orb::toReference(orb, channelReference);
    const EventChannel_var channel = EventChannel::_narrow(channelObject.in());
    const ConsumerAdmin_var admin = channel->default_consumer_admin();
    ProxyID proxyId = 0;
    const ProxySupplier_var proxyObject =
        admin->obtain_notification_push_supplier(SEQUENCE_EVENT, proxyId);
    const SequenceProxyPushSupplier_var proxy =
        SequenceProxyPushSupplier::_narrow(proxyObject.in());
    // the standard's default is a batch of one event
    CosNotification::QoSProperties qos(1);
    qos.length(1);
    qos[0].name = CORBA::string_dup(CosNotification::MaximumBatchSize);
    qos[0].value <<= kBatchMax;
    proxy->set_qos(qos);
    proxy->connect_sequence_push_consumer(reference.in());
}

std::string activated(CORBA::ORB_ptr orb, PortableServer::POA_ptr poa, Batches& consumer) {
    const PortableServer::ObjectId_var id = poa->activate_object(&consumer);
    const CORBA::Object_var object = poa->id_to_reference(id.in());
    const CORBA::String_var text = orb->object_to_string(object.in());
    return text.in();
}

void serve(bool isRaw, const std::string& channel) {
    kelp::orb::OrbOptions options;
    options.listen = {"127.0.0.1:0"};
    const CORBA::ORB_var orb = kelp::orb::start(options, nullptr);
    const CORBA::Object_var rootObject = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(rootObject.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    kelp::orb::letCallersThrough(manager.in());
    EventTally tally;
    Batches consumer(tally);
    std::optional<RawConsumer> raw;
    if (isRaw)
        raw.emplace(tally);
    connect(orb.in(), isRaw ? raw->reference() : activated(orb.in(), root.in(), consumer), channel);
    std::cout << "connected" << std::endl;
    for (std::string order; std::getline(std::cin, order);) {
        if (order == "report") {
            std::cout << tally.report() << std::endl;
        } else {
            tally.reset();
            std::cout << "ok" << std::endl;
        }
    }
    orb->destroy();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: alarm_bench_consumer decoding|raw CHANNEL\n";
        return 2;
    }
    try {
        serve(std::string(argv[1]) == "raw", argv[2]);
    } catch (const CORBA::Exception& failure) {
        std::cerr << "alarm_bench_consumer: " << kelp::orb::exceptionText(failure) << '\n';
        return 1;
    }
    return 0;
}
