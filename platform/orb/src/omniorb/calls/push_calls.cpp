#include "omniorb/calls/push_calls.h"

#include <omniORB4/IOP_C.h>
#include <omniORB4/minorCode.h>

#include <cstring>

#include "event_batch.h"
#include "omniorb/encodings.h"

namespace kelp::orb {

namespace {

using CosNotifyComm::_impl_SequencePushConsumer;
using CosNotifyComm::_impl_StructuredPushConsumer;

const char* const kPushExceptions[] = {CosEventComm::Disconnected::_PD_repoId};

template <class Implementation>
Implementation& implementation(omniServant* servant, const char* repositoryId) {
    return *static_cast<Implementation*>(servant->_ptrToInterface(repositoryId));
}

}  // namespace

PushCall::PushCall(LocalCallFn local, const char* operation)
    : omniCallDescriptor(local, operation, std::strlen(operation) + 1, false, kPushExceptions, 1,
                         false) {}

void PushCall::userException(cdrStream& stream, omni::IOP_C* client, const char* repositoryId) {
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

StructuredPush::StructuredPush(const SharedEvent& event)
    : PushCall(&callLocally, "push_structured_event"), event_(event) {}

void StructuredPush::marshalArguments(cdrStream& stream) {
    event_.encodings().write(stream);
}

void StructuredPush::callLocally(omniCallDescriptor* call, omniServant* servant) {
    const SharedEvent& event = static_cast<StructuredPush*>(call)->event_;
    implementation<_impl_StructuredPushConsumer>(servant,
                                                 CosNotifyComm::StructuredPushConsumer::_PD_repoId)
        .push_structured_event(event.decoded());
}

SequencePush::SequencePush(std::span<const SharedEvent* const> events)
    : PushCall(&callLocally, "push_structured_events"), events_(events.begin(), events.end()) {}

void SequencePush::marshalArguments(cdrStream& stream) {
    static_cast<CORBA::ULong>(events_.size()) >>= stream;
    for (const SharedEvent* each : events_)
        each->encodings().write(stream);
}

void SequencePush::callLocally(omniCallDescriptor* call, omniServant* servant) {
    implementation<_impl_SequencePushConsumer>(servant,
                                               CosNotifyComm::SequencePushConsumer::_PD_repoId)
        .push_structured_events(batchOf(static_cast<SequencePush*>(call)->events_));
}

}  // namespace kelp::orb
