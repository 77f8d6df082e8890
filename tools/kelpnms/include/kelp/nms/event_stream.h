#pragma once

#include <cos/CosNotification.h>
#include <kelp/orb/corba.h>

#include <chrono>
#include <memory>
#include <string>

namespace kelp::nms {

class NmsSession;

/// Gets the events of an EventStream, on the ORB's threads.
class EventListener {
  public:
    virtual ~EventListener() = default;
    virtual void eventCame(const CosNotification::StructuredEvent& event) = 0;
    /// The EMS will push no more events.
    virtual void eventsEnded() = 0;
};

/// What an NMS wants of the EMS's event channel.
struct EventWish {
    std::string filter;        ///< in the extended trader constraint language; empty: every event
    bool inSequences = false;  ///< batches instead of single events
};

/// The events that an EMS pushes to this NMS, from the connection on until the object's end.
class EventStream {
  public:
    /// Connects a consumer to the session's event channel. Throws ProcessingFailure, CallFailed, or
    /// FilterRefused.
    EventStream(NmsSession& session, PortableServer::POA_ptr poa, const EventWish& wish,
                std::shared_ptr<EventListener> listener);
    /// Disconnects.
    ~EventStream();
    /// The EMS is gone: the end comes without a call to it.
    void abandon();
    EventStream(const EventStream&) = delete;
    EventStream& operator=(const EventStream&) = delete;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::nms
