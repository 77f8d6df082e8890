#pragma once

#include <cos/CosNotification.h>
#include <cos/CosNotifyComm.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <memory>
#include <span>

namespace kelp::orb {

/// An event that several users share. None of them changes it.
using StructuredEventPtr = std::shared_ptr<const CosNotification::StructuredEvent>;

/// An event that is sent to many consumers and never changes. It caches the encodings that an
/// EventSender makes of it, until it is destroyed. Any thread may send it.
class KELP_EXPORT SharedEvent {
  public:
    /// Share an event without copying it. `event` must not be null.
    explicit SharedEvent(StructuredEventPtr event);
    /// Copy an event.
    explicit SharedEvent(const CosNotification::StructuredEvent& event);
    ~SharedEvent();
    SharedEvent(const SharedEvent&) = delete;
    SharedEvent& operator=(const SharedEvent&) = delete;

    const CosNotification::StructuredEvent& body;

    /// Return the number of cached encodings.
    std::size_t encodingsKept() const;
    /// Return the size in octets of one of the cached encodings; 0 if there is none.
    std::size_t octetsKept() const;

    /// The cached encodings. For implementations of EventSender only.
    class Encodings;
    Encodings& encodings() const { return *encodings_; }

  private:
    const StructuredEventPtr event_;  // owns body
    const std::unique_ptr<Encodings> encodings_;
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

/// Return a sender that encodes an event once for each combination of GIOP version, byte order,
/// pair of transmission code sets and alignment of its first octet. It sends the same octets to
/// every consumer with that combination. Consumers receive exactly what an ordinary call would
/// send.
KELP_EXPORT const EventSender& encodingSender();

/// Return a sender that makes ordinary calls. It works with every ORB, but encodes each event again
/// for each consumer.
KELP_EXPORT const EventSender& ordinarySender();

}  // namespace kelp::orb
