#pragma once

#include <kelp/nms/client.h>
#include <kelp/nms/event_stream.h>

#include <chrono>
#include <memory>

#include "app/report.h"
#include "events/event_follower.h"

namespace kelp::nms {

/// A session at an EMS with a consumer at its event channel.
class EmsEventLink final : public EventLink {
  public:
    /// Take over the session and connect the consumer. Throws what EventStream throws.
    EmsEventLink(std::unique_ptr<NmsSession> session, PortableServer::POA_ptr poa,
                 const EventWish& wish, std::shared_ptr<EventListener> listener,
                 std::chrono::milliseconds logOutLimit, std::shared_ptr<Report> report);
    ~EmsEventLink() override;

    NmsSession& session() { return *session_; }

    void check() override { session_->ping(); }
    void leave() override;

  private:
    const std::shared_ptr<Report> report_;
    const std::chrono::milliseconds logOutLimit_;
    const std::unique_ptr<NmsSession> session_;
    std::unique_ptr<EventStream> events_;
};

}  // namespace kelp::nms
