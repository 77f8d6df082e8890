#include <cos/CosNotifyChannelAdmin.h>
#include <cos/CosNotifyFilter.h>
#include <kelp/nms/event_stream.h>
#include <kelp/nms/session.h>

#include <functional>
#include <utility>

namespace kelp::nms {

namespace {

using namespace CosNotifyChannelAdmin;

class StructuredConsumer final : public POA_CosNotifyComm::StructuredPushConsumer {
  public:
    explicit StructuredConsumer(std::shared_ptr<EventListener> listener)
        : listener_(std::move(listener)) {}
    void push_structured_event(const CosNotification::StructuredEvent& event) override {
        listener_->eventCame(event);
    }
    void disconnect_structured_push_consumer() override { listener_->eventsEnded(); }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

  private:
    const std::shared_ptr<EventListener> listener_;
};

class SequenceConsumer final : public POA_CosNotifyComm::SequencePushConsumer {
  public:
    explicit SequenceConsumer(std::shared_ptr<EventListener> listener)
        : listener_(std::move(listener)) {}
    void push_structured_events(const CosNotification::EventBatch& batch) override {
        for (CORBA::ULong i = 0; i < batch.length(); ++i)
            listener_->eventCame(batch[i]);
    }
    void disconnect_sequence_push_consumer() override { listener_->eventsEnded(); }
    void offer_change(const CosNotification::EventTypeSeq&,
                      const CosNotification::EventTypeSeq&) override {}

  private:
    const std::shared_ptr<EventListener> listener_;
};

constexpr CORBA::Long kBatchSize = 50;

CosNotification::QoSProperties batches() {
    CosNotification::QoSProperties qos;
    qos.length(1);
    qos[0].name = CORBA::string_dup(CosNotification::MaximumBatchSize);
    qos[0].value <<= kBatchSize;
    return qos;
}

/// Make a filter with one constraint that applies to every event type.
CosNotifyFilter::Filter_ptr makeFilter(EventChannel_ptr channel, const std::string& text) {
    const CosNotifyFilter::FilterFactory_var factory = channel->default_filter_factory();
    const CosNotifyFilter::Filter_var filter = factory->create_filter("EXTENDED_TCL");
    CosNotifyFilter::ConstraintExpSeq constraints;
    constraints.length(1);
    constraints[0].constraint_expr = CORBA::string_dup(text.c_str());
    try {
        const CosNotifyFilter::ConstraintInfoSeq_var added = filter->add_constraints(constraints);
    } catch (const CosNotifyFilter::InvalidConstraint&) {
        filter->destroy();
        throw FilterRefused("the EMS refuses the filter \"" + text + "\" as no constraint");
    }
    return CosNotifyFilter::Filter::_duplicate(filter.in());
}

}  // namespace

struct EventStream::State {
    PortableServer::POA_var poa;
    PortableServer::ServantBase_var servant;
    PortableServer::ObjectId_var id;
    CosNotifyFilter::Filter_var filter;
    std::function<void()> disconnect;

    template <class Consumer, class Servant>
    typename Consumer::_ptr_type activate(std::shared_ptr<EventListener> listener) {
        auto* made = new Servant(std::move(listener));
        servant = made;
        id = poa->activate_object(made);
        const CORBA::Object_var object = poa->id_to_reference(id.in());
        return Consumer::_narrow(object.in());
    }
    void connectStructured(ConsumerAdmin_ptr admin, std::shared_ptr<EventListener> listener) {
        ProxyID number = 0;
        const ProxySupplier_var any =
            admin->obtain_notification_push_supplier(STRUCTURED_EVENT, number);
        const StructuredProxyPushSupplier_var proxy =
            StructuredProxyPushSupplier::_narrow(any.in());
        disconnect = [proxy] { proxy->disconnect_structured_push_supplier(); };
        if (!CORBA::is_nil(filter.in()))
            proxy->add_filter(filter.in());
        const CosNotifyComm::StructuredPushConsumer_var consumer =
            activate<CosNotifyComm::StructuredPushConsumer, StructuredConsumer>(
                std::move(listener));
        proxy->connect_structured_push_consumer(consumer.in());
    }
    void connectSequence(ConsumerAdmin_ptr admin, std::shared_ptr<EventListener> listener) {
        ProxyID number = 0;
        const ProxySupplier_var any =
            admin->obtain_notification_push_supplier(SEQUENCE_EVENT, number);
        const SequenceProxyPushSupplier_var proxy = SequenceProxyPushSupplier::_narrow(any.in());
        disconnect = [proxy] { proxy->disconnect_sequence_push_supplier(); };
        proxy->set_qos(batches());
        if (!CORBA::is_nil(filter.in()))
            proxy->add_filter(filter.in());
        const CosNotifyComm::SequencePushConsumer_var consumer =
            activate<CosNotifyComm::SequencePushConsumer, SequenceConsumer>(std::move(listener));
        proxy->connect_sequence_push_consumer(consumer.in());
    }
    void end() {
        try {
            if (disconnect)
                disconnect();
            if (!CORBA::is_nil(filter.in()))
                filter->destroy();
        } catch (const CORBA::Exception&) {
            // the EMS notices at its next push that this consumer is gone
        }
        try {
            if (servant.in() != nullptr)
                poa->deactivate_object(id.in());
        } catch (const CORBA::Exception&) {
            // the ORB has been shut down and has deactivated the object
        }
    }
};

EventStream::EventStream(NmsSession& session, PortableServer::POA_ptr poa, const EventWish& wish,
                         std::shared_ptr<EventListener> listener)
    : state_(std::make_unique<State>()) {
    state_->poa = PortableServer::POA::_duplicate(poa);
    EventChannel_var channel;
    NmsSession::call("getEventChannel",
                     [&] { session.reference()->getEventChannel(channel.out()); });
    if (CORBA::is_nil(channel.in()))
        throw NmsError("getEventChannel: the EMS answered with a nil reference");
    try {
        NmsSession::call("connecting to the event channel", [&] {
            if (!wish.filter.empty())
                state_->filter = makeFilter(channel.in(), wish.filter);
            const ConsumerAdmin_var admin = channel->default_consumer_admin();
            if (wish.inSequences)
                state_->connectSequence(admin.in(), std::move(listener));
            else
                state_->connectStructured(admin.in(), std::move(listener));
        });
    } catch (...) {  // disconnect after any exception, and let the caller see it
        state_->end();
        throw;
    }
}

void EventStream::abandon() {
    state_->disconnect = nullptr;
    state_->filter = CosNotifyFilter::Filter::_nil();
}

EventStream::~EventStream() {
    state_->end();
}

}  // namespace kelp::nms
