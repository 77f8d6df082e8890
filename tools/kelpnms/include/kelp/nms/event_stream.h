#pragma once

#include <cos/CosNotification.h>
#include <kelp/orb/corba.h>

#include <chrono>
#include <memory>
#include <string>

namespace kelp::nms {

class NmsSession;

/// Receives the events of an EventStream. Called on the ORB's threads.
class EventListener {
  public:
    virtual ~EventListener() = default;
    virtual void eventCame(const CosNotification::StructuredEvent& event) = 0;
    /// The EMS will push no more events.
    virtual void eventsEnded() = 0;
};

/// The events that an NMS requests from the EMS's event channel.
struct EventWish {
    std::string filter;  ///< in the extended trader constraint language; empty selects every event
    bool inSequences = false;  ///< push events in batches instead of one by one
};

/// The events that an EMS pushes to this NMS. The connection exists as long as this object lives.
class EventStream {
  public:
    /// Connect a consumer to the session's event channel. Throws ProcessingFailure, CallFailed, or
    /// FilterRefused.
    EventStream(NmsSession& session, PortableServer::POA_ptr poa, const EventWish& wish,
                std::shared_ptr<EventListener> listener);
    /// Disconnect the consumer.
    ~EventStream();
    /// Make the destructor send nothing to the EMS. Call this when the EMS is gone.
    void abandon();
    EventStream(const EventStream&) = delete;
    EventStream& operator=(const EventStream&) = delete;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::nms
