#include "event_batch.h"

namespace kelp::orb {

CosNotification::EventBatch batchOf(std::span<const SharedEvent* const> events) {
    CosNotification::EventBatch batch;
    batch.length(static_cast<CORBA::ULong>(events.size()));
    for (CORBA::ULong i = 0; i < batch.length(); ++i)
        batch[i] = events[i]->decoded();
    return batch;
}

namespace {

class OrdinarySender final : public EventSender {
  public:
    void push(CosNotifyComm::StructuredPushConsumer_ptr consumer,
              const SharedEvent& event) const override {
        consumer->push_structured_event(event.decoded());
    }
    void push(CosNotifyComm::SequencePushConsumer_ptr consumer,
              std::span<const SharedEvent* const> events) const override {
        consumer->push_structured_events(batchOf(events));
    }
};

}  // namespace

const EventSender& ordinarySender() {
    static const OrdinarySender sender;
    return sender;
}

}  // namespace kelp::orb
