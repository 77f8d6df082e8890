#include "events/ems_event_link.h"

#include <utility>

#include "app/log_out.h"

namespace kelp::nms {

EmsEventLink::EmsEventLink(std::unique_ptr<NmsSession> session, PortableServer::POA_ptr poa,
                           const EventWish& wish, std::shared_ptr<EventListener> listener,
                           std::chrono::milliseconds logOutLimit, std::shared_ptr<Report> report)
    : report_(std::move(report)),
      logOutLimit_(logOutLimit),
      session_(std::move(session)),
      events_(std::make_unique<EventStream>(*session_, poa, wish, std::move(listener))) {}

EmsEventLink::~EmsEventLink() {
    if (events_ != nullptr)
        events_->abandon();
    session_->abandon();
}

void EmsEventLink::leave() {
    events_.reset();
    logOut(*session_, logOutLimit_, *report_);
}

}  // namespace kelp::nms
