#include "omniorb/calls/push_calls.h"

namespace kelp::orb {

namespace {

class EncodingSender final : public EventSender {
  public:
    void push(CosNotifyComm::StructuredPushConsumer_ptr consumer,
              const SharedEvent& event) const override {
        StructuredPush call(event);
        consumer->_invoke(call);
    }
    void push(CosNotifyComm::SequencePushConsumer_ptr consumer,
              std::span<const SharedEvent* const> events) const override {
        SequencePush call(events);
        consumer->_invoke(call);
    }
};

}  // namespace

const EventSender& encodingSender() {
    static const EncodingSender sender;
    return sender;
}

}  // namespace kelp::orb
