#pragma once

#include <cos/CosNotification.h>
#include <cos/CosNotifyComm.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <memory>
#include <span>

namespace kelp::orb {

/// An event that goes out to many consumers and is never changed. It keeps what an EventSender
/// wants to remember of it, its encodings, until it ends. Any thread may send it.
class KELP_EXPORT SharedEvent {
  public:
    explicit SharedEvent(const CosNotification::StructuredEvent& event);
    ~SharedEvent();
    SharedEvent(const SharedEvent&) = delete;
    SharedEvent& operator=(const SharedEvent&) = delete;

    const CosNotification::StructuredEvent body;

    /// How many encodings are kept.
    std::size_t encodingsKept() const;

    class Encodings;
    Encodings& encodings() const { return *encodings_; }

  private:
    const std::unique_ptr<Encodings> encodings_;
};

/// Pushes events to consumers. The calls raise what the ordinary operations raise, and obey the
/// same time-outs. Any thread.
class KELP_EXPORT EventSender {
  public:
    virtual ~EventSender() = default;
    virtual void push(CosNotifyComm::StructuredPushConsumer_ptr consumer,
                      const SharedEvent& event) const = 0;
    /// In one call, in order.
    virtual void push(CosNotifyComm::SequencePushConsumer_ptr consumer,
                      std::span<const SharedEvent* const> events) const = 0;
};

/// Encodes an event once for each GIOP version, byte order, pair of transmission code sets and
/// alignment of its first octet, and sends the same octets to every consumer of that kind. What
/// arrives differs in nothing from an ordinary call.
KELP_EXPORT const EventSender& encodingSender();

/// Makes the ordinary call: correct with every ORB, and encodes each event for each consumer.
KELP_EXPORT const EventSender& ordinarySender();

}  // namespace kelp::orb
