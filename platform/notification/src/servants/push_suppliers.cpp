#include "push_suppliers.h"

namespace kelp::notification {

namespace {

/// Throws BAD_PARAM for a nil consumer (Notification Service 3.4.10).
template <class Reference>
void requireConsumer(Reference consumer) {
    if (CORBA::is_nil(consumer))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
}

class StructuredReceiver final : public Receiver {
  public:
    StructuredReceiver(CosNotifyComm::StructuredPushConsumer_ptr consumer,
                       const kelp::orb::EventSender& sender)
        : consumer_(CosNotifyComm::StructuredPushConsumer::_duplicate(consumer)), sender_(sender) {}
    std::size_t batchMax() const override { return 1; }
    void deliver(const std::vector<EventPtr>& events) override {
        for (const EventPtr& each : events)
            sender_.push(consumer_.in(), *each);
    }
    void probe() override { (void)consumer_->_non_existent(); }
    void disconnect() override { consumer_->disconnect_structured_push_consumer(); }

  private:
    const CosNotifyComm::StructuredPushConsumer_var consumer_;
    const kelp::orb::EventSender& sender_;
};

class SequenceReceiver final : public Receiver {
  public:
    SequenceReceiver(CosNotifyComm::SequencePushConsumer_ptr consumer,
                     std::shared_ptr<Outlet> outlet, const kelp::orb::EventSender& sender)
        : consumer_(CosNotifyComm::SequencePushConsumer::_duplicate(consumer)),
          outlet_(outlet),
          sender_(sender) {}
    std::size_t batchMax() const override {
        const std::shared_ptr<Outlet> outlet = outlet_.lock();
        return outlet ? static_cast<std::size_t>(outlet->qos.get().maximumBatchSize) : 1;
    }
    void deliver(const std::vector<EventPtr>& events) override {
        std::vector<const kelp::orb::SharedEvent*> batch;
        batch.reserve(events.size());
        for (const EventPtr& each : events)
            batch.push_back(each.get());
        sender_.push(consumer_.in(), batch);
    }
    void probe() override { (void)consumer_->_non_existent(); }
    void disconnect() override { consumer_->disconnect_sequence_push_consumer(); }

  private:
    const CosNotifyComm::SequencePushConsumer_var consumer_;
    const std::weak_ptr<Outlet> outlet_;
    const kelp::orb::EventSender& sender_;
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
    connect(std::make_shared<StructuredReceiver>(consumer, sender()), consumer);
}

void SequencePushSupplier::connect_sequence_push_consumer(
    CosNotifyComm::SequencePushConsumer_ptr consumer) {
    requireConsumer(consumer);
    connect(std::make_shared<SequenceReceiver>(consumer, outlet(), sender()), consumer);
}

void AnyPushSupplier::connect_any_push_consumer(CosEventComm::PushConsumer_ptr consumer) {
    requireConsumer(consumer);
    connect(std::make_shared<AnyReceiver>(consumer), consumer);
}

}  // namespace kelp::notification
