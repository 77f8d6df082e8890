#include <omniORB4/CORBA.h>
#include <omniORB4/IOP_C.h>
#include <omniORB4/callDescriptor.h>
#include <omniORB4/minorCode.h>

#include <cstring>

#include "encodings.h"
#include "event_batch.h"

namespace kelp::orb {

namespace {

using CosNotifyComm::_impl_SequencePushConsumer;
using CosNotifyComm::_impl_StructuredPushConsumer;

const char* const kExceptions[] = {CosEventComm::Disconnected::_PD_repoId};

/// A push operation, whose arguments are written by marshalArguments(). It returns nothing and may
/// raise Disconnected.
class PushCall : public omniCallDescriptor {
  public:
    PushCall(LocalCallFn local, const char* operation)
        : omniCallDescriptor(local, operation, std::strlen(operation) + 1, false, kExceptions, 1,
                             false) {}

    void userException(cdrStream& stream, omni::IOP_C* client, const char* repositoryId) override {
        if (std::strcmp(repositoryId, CosEventComm::Disconnected::_PD_repoId) == 0) {
            CosEventComm::Disconnected raised;
            raised <<= stream;
            if (client != nullptr)
                client->RequestCompleted();
            throw raised;
        }
        if (client != nullptr)
            client->RequestCompleted(true);
        throw CORBA::UNKNOWN(omni::UNKNOWN_UserException, CORBA::COMPLETED_MAYBE);
    }
};

template <class Implementation>
Implementation& implementation(omniServant* servant, const char* repositoryId) {
    return *static_cast<Implementation*>(servant->_ptrToInterface(repositoryId));
}

class StructuredPush final : public PushCall {
  public:
    explicit StructuredPush(const SharedEvent& event)
        : PushCall(&callLocally, "push_structured_event"), event_(event) {}

    void marshalArguments(cdrStream& stream) override { event_.encodings().write(stream); }

  private:
    static void callLocally(omniCallDescriptor* call, omniServant* servant) {
        const SharedEvent& event = static_cast<StructuredPush*>(call)->event_;
        implementation<_impl_StructuredPushConsumer>(
            servant, CosNotifyComm::StructuredPushConsumer::_PD_repoId)
            .push_structured_event(event.body);
    }

    const SharedEvent& event_;
};

class SequencePush final : public PushCall {
  public:
    explicit SequencePush(std::span<const SharedEvent* const> events)
        : PushCall(&callLocally, "push_structured_events"), events_(events) {}

    void marshalArguments(cdrStream& stream) override {
        static_cast<CORBA::ULong>(events_.size()) >>= stream;
        for (const SharedEvent* each : events_)
            each->encodings().write(stream);
    }

  private:
    static void callLocally(omniCallDescriptor* call, omniServant* servant) {
        const std::span<const SharedEvent* const> events =
            static_cast<SequencePush*>(call)->events_;
        implementation<_impl_SequencePushConsumer>(servant,
                                                   CosNotifyComm::SequencePushConsumer::_PD_repoId)
            .push_structured_events(batchOf(events));
    }

    const std::span<const SharedEvent* const> events_;
};

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
