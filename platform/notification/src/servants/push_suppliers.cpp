#include "push_suppliers.h"

#include <algorithm>

namespace kelp::notification {

namespace {

/// Counts for an event that has not been encoded yet.
constexpr std::size_t kTypicalOctets = 2048;

/// Throws BAD_PARAM for a nil consumer (Notification Service 3.4.10).
template <class Reference>
void requireConsumer(Reference consumer) {
    if (CORBA::is_nil(consumer))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
}

class StructuredConsumer final : public ConnectedConsumer {
  public:
    StructuredConsumer(CosNotifyComm::StructuredPushConsumer_ptr consumer,
                       const kelp::orb::EventSender& sender)
        : consumer_(CosNotifyComm::StructuredPushConsumer::_duplicate(consumer)), sender_(sender) {}
    std::size_t batchMax() const override { return 1; }
    void deliver(const std::vector<EventPtr>& events) override {
        for (const EventPtr& each : events)
            sender_.push(consumer_.in(), *each);
    }
    bool canSend() const override { return true; }
    bool send(const std::vector<EventPtr>& events, kelp::orb::AwaitedPushes& pushes,
              std::chrono::milliseconds limit,
              const std::shared_ptr<kelp::orb::PushWaiter>& waiter) override {
        return events.size() == 1 && pushes.push(consumer_.in(), *events.front(), limit, waiter);
    }
    void probe() override { (void)consumer_->_non_existent(); }
    void disconnect() override { consumer_->disconnect_structured_push_consumer(); }

  private:
    const CosNotifyComm::StructuredPushConsumer_var consumer_;
    const kelp::orb::EventSender& sender_;
};

class SequenceConsumer final : public ConnectedConsumer {
  public:
    SequenceConsumer(CosNotifyComm::SequencePushConsumer_ptr consumer,
                     const std::shared_ptr<ConsumerPath>& path,
                     const kelp::orb::EventSender& sender)
        : consumer_(CosNotifyComm::SequencePushConsumer::_duplicate(consumer)),
          path_(path),
          sender_(sender) {}
    std::size_t batchMax() const override {
        const std::shared_ptr<ConsumerPath> path = path_.lock();
        return path ? static_cast<std::size_t>(path->qos.get().maximumBatchSize) : 1;
    }
    void deliver(const std::vector<EventPtr>& events) override {
        sender_.push(consumer_.in(), batchOf(events));
    }
    bool canSend() const override { return true; }
    bool send(const std::vector<EventPtr>& events, kelp::orb::AwaitedPushes& pushes,
              std::chrono::milliseconds limit,
              const std::shared_ptr<kelp::orb::PushWaiter>& waiter) override {
        const Batch batch = batchOf(events);
        std::size_t octets = 0;
        for (const kelp::orb::SharedEvent* each : batch)
            octets += std::max(each->octetsKept(), kTypicalOctets);
        return octets <= kelp::orb::unsentOctetsMax &&
               pushes.push(consumer_.in(), batch, limit, waiter);
    }
    void probe() override { (void)consumer_->_non_existent(); }
    void disconnect() override { consumer_->disconnect_sequence_push_consumer(); }

  private:
    using Batch = std::vector<const kelp::orb::SharedEvent*>;

    static Batch batchOf(const std::vector<EventPtr>& events) {
        Batch batch;
        batch.reserve(events.size());
        for (const EventPtr& each : events)
            batch.push_back(each.get());
        return batch;
    }

    const CosNotifyComm::SequencePushConsumer_var consumer_;
    const std::weak_ptr<ConsumerPath> path_;
    const kelp::orb::EventSender& sender_;
};

class AnyConsumer final : public ConnectedConsumer {
  public:
    explicit AnyConsumer(CosEventComm::PushConsumer_ptr consumer)
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
    connect(std::make_shared<StructuredConsumer>(consumer, sender()), consumer);
}

void SequencePushSupplier::connect_sequence_push_consumer(
    CosNotifyComm::SequencePushConsumer_ptr consumer) {
    requireConsumer(consumer);
    connect(std::make_shared<SequenceConsumer>(consumer, path(), sender()), consumer);
}

void AnyPushSupplier::connect_any_push_consumer(CosEventComm::PushConsumer_ptr consumer) {
    requireConsumer(consumer);
    connect(std::make_shared<AnyConsumer>(consumer), consumer);
}

}  // namespace kelp::notification
