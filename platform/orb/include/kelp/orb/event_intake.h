#pragma once

#include <kelp/orb/encoded_event.h>
#include <kelp/orb/export.h>
#include <omniORB4/callHandle.h>

#include <span>

namespace kelp::orb {

/// Receives events that were pushed over a connection.
class KELP_EXPORT EventIntake {
  public:
    virtual ~EventIntake() = default;
    /// Accept the events of one call, in order. The events may be moved from. Called instead of
    /// push_structured_event() or push_structured_events(), and may raise what these raise.
    virtual void pushEncoded(std::span<EncodedEvent> events) = 0;
};

/// Serve the call if it pushes structured events. Return false, and do nothing, for any other.
KELP_EXPORT bool serveStructuredPush(omniCallHandle& call, omniServant* servant,
                                     EventIntake& intake);

/// A skeleton of a StructuredPushConsumer or a SequencePushConsumer. Events from other processes
/// come encoded, to pushEncoded(). The operations of the IDL serve calls inside the process. An
/// event that the ORB would refuse is refused with the same exception.
template <class Skeleton>
class EncodedPushConsumer : public Skeleton, public EventIntake {
  public:
    _CORBA_Boolean _dispatch(omniCallHandle& call) override {
        return serveStructuredPush(call, this, *this) || Skeleton::_dispatch(call);
    }
};

}  // namespace kelp::orb
