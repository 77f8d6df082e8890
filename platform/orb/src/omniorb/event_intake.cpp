#include <cos/CosEventComm.h>
#include <kelp/orb/event_intake.h>
#include <omniORB4/callDescriptor.h>
#include <omniORB4/minorCode.h>

#include <string_view>
#include <vector>

#include "omniorb/encoded_events.h"

namespace kelp::orb {

namespace {

const char* const kIntakeExceptions[] = {CosEventComm::Disconnected::_PD_repoId};

/// An operation that pushes events, on the side of the consumer.
class PushedEvents : public omniCallDescriptor {
  public:
    PushedEvents(std::string_view operation, EventIntake& intake)
        : omniCallDescriptor(&deliver, operation.data(), operation.size() + 1, false,
                             kIntakeExceptions, 1, true),
          intake_(intake) {}

  protected:
    std::vector<EncodedEvent> events_;

  private:
    static void deliver(omniCallDescriptor* call, omniServant*) {
        auto* own = static_cast<PushedEvents*>(call);
        own->intake_.pushEncoded(own->events_);
    }

    EventIntake& intake_;
};

constexpr std::string_view kPushOne = "push_structured_event";
constexpr std::string_view kPushBatch = "push_structured_events";

class PushedEvent final : public PushedEvents {
  public:
    explicit PushedEvent(EventIntake& intake) : PushedEvents(kPushOne, intake) {}
    void unmarshalArguments(cdrStream& stream) override {
        events_.push_back(EncodedEvents::read(stream));
    }
};

class PushedBatch final : public PushedEvents {
  public:
    explicit PushedBatch(EventIntake& intake) : PushedEvents(kPushBatch, intake) {}
    void unmarshalArguments(cdrStream& stream) override {
        CORBA::ULong length = 0;
        length <<= stream;
        // as the ORB does for every sequence
        if (!stream.checkInputOverrun(1, length))
            throw CORBA::MARSHAL(omni::MARSHAL_SequenceIsTooLong,
                                 static_cast<CORBA::CompletionStatus>(stream.completion()));
        for (CORBA::ULong i = 0; i < length; ++i)
            events_.push_back(EncodedEvents::read(stream));
    }
};

}  // namespace

bool serveStructuredPush(omniCallHandle& call, omniServant* servant, EventIntake& intake) {
    const std::string_view operation = call.operation_name();
    if (operation == kPushOne) {
        PushedEvent push(intake);
        call.upcall(servant, push);
        return true;
    }
    if (operation == kPushBatch) {
        PushedBatch push(intake);
        call.upcall(servant, push);
        return true;
    }
    return false;
}

}  // namespace kelp::orb
