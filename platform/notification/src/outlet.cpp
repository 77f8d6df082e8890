#include "outlet.h"

#include <kelp/util/trace_log.h>

#include "core.h"

namespace kelp::notification {

Outlet::Outlet(ChannelCore& core, std::shared_ptr<AdminData> admin, CosNotifyChannelAdmin::ProxyID proxy)
    : Subscription(core.dispatcher(), core.settings().delivery, core.queueLimit(admin->qos.get())),
      qos(admin->qos.get()),
      core_(core),
      admin_(std::move(admin)),
      proxy_(proxy) {
    applyQos(qos.get());
}

void Outlet::applyQos(const Qos& values) {
    setQueueLimit(core_.queueLimit(values));
    setDiscard(values.discardPolicy == CosNotification::LifoOrder ? Discard::Newest : Discard::Oldest);
    setTimeout(values.timeout);
    setPacing(values.pacingInterval);
}

void Outlet::take(const EventPtr& event) {
    if (isConnected() && passes(event->body))
        offer(event);
}

bool Outlet::passes(const CosNotification::StructuredEvent& event) const {
    const CosNotification::EventType& type = event.header.fixed_header.event_type;
    return admin_->types.matches(type) && types.matches(type) &&
           judgedByGroups(admin_->op, admin_->filters, filters, event);
}

void Outlet::eventsLost(const Event& first) {
    core_.tellLost(first);
}

void Outlet::consumerDied(const std::string& why) {
    kelp::util::traceFrom("notification", "consumer " + std::to_string(admin_->id) + "/" +
                                              std::to_string(proxy_) + " is given up: " + why);
    admin_->proxyDied(proxy_);
}

}  // namespace kelp::notification
