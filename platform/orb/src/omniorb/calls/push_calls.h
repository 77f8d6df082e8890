#pragma once

#include <kelp/orb/event_sender.h>
#include <omniORB4/CORBA.h>
#include <omniORB4/callDescriptor.h>

#include <span>
#include <vector>

namespace kelp::orb {

/// A push operation, whose arguments are written by marshalArguments(). It returns nothing and may
/// raise Disconnected.
class PushCall : public omniCallDescriptor {
  public:
    PushCall(LocalCallFn local, const char* operation);
    void userException(cdrStream& stream, omni::IOP_C* client, const char* repositoryId) override;
};

/// push_structured_event with cached octets. The event must outlive the encoding of the request.
class StructuredPush final : public PushCall {
  public:
    explicit StructuredPush(const SharedEvent& event);
    void marshalArguments(cdrStream& stream) override;

  private:
    static void callLocally(omniCallDescriptor* call, omniServant* servant);

    const SharedEvent& event_;
};

/// push_structured_events with cached octets. The events must outlive the encoding of the request.
class SequencePush final : public PushCall {
  public:
    explicit SequencePush(std::span<const SharedEvent* const> events);
    void marshalArguments(cdrStream& stream) override;

  private:
    static void callLocally(omniCallDescriptor* call, omniServant* servant);

    const std::vector<const SharedEvent*> events_;
};

}  // namespace kelp::orb
