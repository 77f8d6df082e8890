#pragma once

#include <cos/CosNotification.h>
#include <cos/CosNotifyComm.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/encoded_event.h>
#include <kelp/orb/event_view.h>
#include <kelp/orb/export.h>

#include <atomic>
#include <cstddef>
#include <span>
#include <utility>

namespace kelp::orb {

/// An event that is sent to many consumers and never changes. It caches further encodings, which an
/// EventSender makes for consumers whose connections need other code sets than the event has, until
/// it is destroyed. Any thread may send it.
class KELP_EXPORT SharedEvent {
  public:
    explicit SharedEvent(EncodedEvent event) : event_(std::move(event)) {}
    /// Encode an event.
    explicit SharedEvent(const CosNotification::StructuredEvent& event) : event_(event) {}
    ~SharedEvent();
    SharedEvent(const SharedEvent&) = delete;
    SharedEvent& operator=(const SharedEvent&) = delete;

    const EncodedEvent& encoded() const { return event_; }
    EventView view() const { return event_; }
    /// Return the decoded event.
    CosNotification::StructuredEvent decoded() const { return event_.decoded(); }

    /// Return the number of its encodings, including its own.
    std::size_t encodingsKept() const;
    /// Return the size in octets of one of its encodings; 0 if there is none.
    std::size_t octetsKept() const;

    /// Writes the event. For implementations of EventSender only.
    class Encodings;
    Encodings encodings() const;

  private:
    struct Others;

    const EncodedEvent event_;
    mutable std::atomic<Others*> others_{nullptr};  ///< owned
};

/// Pushes events to consumers. The calls raise the same exceptions as the ordinary operations, and
/// obey the same time-outs. Callable from any thread.
class KELP_EXPORT EventSender {
  public:
    virtual ~EventSender() = default;
    virtual void push(CosNotifyComm::StructuredPushConsumer_ptr consumer,
                      const SharedEvent& event) const = 0;
    /// Push all events in one call, in order.
    virtual void push(CosNotifyComm::SequencePushConsumer_ptr consumer,
                      std::span<const SharedEvent* const> events) const = 0;
};

/// Return a sender that sends the event's own octets, or encodes it once for each other pair of
/// transmission code sets and GIOP version that its texts need. It sends the same octets to every
/// consumer with that combination. Consumers receive what an ordinary call would send, except that
/// TypeCodes are encoded as the event's supplier has encoded them.
KELP_EXPORT const EventSender& encodingSender();

/// Return a sender that makes ordinary calls. It works with every ORB, but encodes each event again
/// for each consumer.
KELP_EXPORT const EventSender& ordinarySender();

}  // namespace kelp::orb
