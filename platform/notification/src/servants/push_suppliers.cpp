#include "push_suppliers.h"

namespace kelp::notification {

namespace {

/// A nil consumer is no consumer (Notification Service 3.4.10).
template <class Reference>
void requireConsumer(Reference consumer) {
    if (CORBA::is_nil(consumer))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
}

class StructuredReceiver final : public Receiver {
  public:
    explicit StructuredReceiver(CosNotifyComm::StructuredPushConsumer_ptr consumer)
        : consumer_(CosNotifyComm::StructuredPushConsumer::_duplicate(consumer)) {}
    std::size_t batchMax() const override { return 1; }
    void deliver(const std::vector<EventPtr>& events) override {
        for (const EventPtr& each : events)
            consumer_->push_structured_event(each->body);
    }
    void probe() override { (void)consumer_->_non_existent(); }
    void disconnect() override { consumer_->disconnect_structured_push_consumer(); }

  private:
    const CosNotifyComm::StructuredPushConsumer_var consumer_;
};

class SequenceReceiver final : public Receiver {
  public:
    SequenceReceiver(CosNotifyComm::SequencePushConsumer_ptr consumer, std::shared_ptr<Outlet> outlet)
        : consumer_(CosNotifyComm::SequencePushConsumer::_duplicate(consumer)), outlet_(outlet) {}
    std::size_t batchMax() const override {
        const std::shared_ptr<Outlet> outlet = outlet_.lock();
        return outlet ? static_cast<std::size_t>(outlet->qos.get().maximumBatchSize) : 1;
    }
    void deliver(const std::vector<EventPtr>& events) override {
        CosNotification::EventBatch batch;
        batch.length(static_cast<CORBA::ULong>(events.size()));
        for (CORBA::ULong i = 0; i < batch.length(); ++i)
            batch[i] = events[i]->body;
        consumer_->push_structured_events(batch);
    }
    void probe() override { (void)consumer_->_non_existent(); }
    void disconnect() override { consumer_->disconnect_sequence_push_consumer(); }

  private:
    const CosNotifyComm::SequencePushConsumer_var consumer_;
    const std::weak_ptr<Outlet> outlet_;
};

class AnyReceiver final : public Receiver {
  public:
    explicit AnyReceiver(CosEventComm::PushConsumer_ptr consumer)
        : consumer_(CosEventComm::PushConsumer::_duplicate(consumer)) {}
    std::size_t batchMax() const override { return 1; }
    void deliver(const std::vector<EventPtr>& events) override {
        for (const EventPtr& each : events)
            consumer_->push(asAny(*each));
    }
    void probe() override { (void)consumer_->_non_existent(); }
    void disconnect() override { consumer_->disconnect_push_consumer(); }

  private:
    const CosEventComm::PushConsumer_var consumer_;
};

}  // namespace

void StructuredPushSupplier::connect_structured_push_consumer(
    CosNotifyComm::StructuredPushConsumer_ptr consumer) {
    requireConsumer(consumer);
    connect(std::make_shared<StructuredReceiver>(consumer));
}

void SequencePushSupplier::connect_sequence_push_consumer(CosNotifyComm::SequencePushConsumer_ptr consumer) {
    requireConsumer(consumer);
    connect(std::make_shared<SequenceReceiver>(consumer, outlet()));
}

void AnyPushSupplier::connect_any_push_consumer(CosEventComm::PushConsumer_ptr consumer) {
    requireConsumer(consumer);
    connect(std::make_shared<AnyReceiver>(consumer));
}

}  // namespace kelp::notification
