#include "outlet.h"

#include <kelp/util/trace_log.h>

#include <new>

#include "core.h"

namespace kelp::notification {

Outlet::Outlet(ChannelCore& core, std::shared_ptr<AdminData> admin, CosNotifyChannelAdmin::ProxyID proxy)
    : Subscription(core.dispatcher(), core.settings().delivery, core.queueLimit()),
      qos(admin->qos.get(), QosSide::Consumer),
      core_(core),
      admin_(std::move(admin)),
      proxy_(proxy) {
    applyQos(qos.get());
}

void Outlet::applyQos(const Qos& values) {
    const std::size_t configured = core_.queueLimit();
    const auto own = static_cast<std::size_t>(values.maxEventsPerConsumer);
    const bool isOwn = own > 0 && own < configured;
    setQueueLimit(isOwn ? own : configured, isOwn);
    setRules(rulesOf(values));
    setPacing(values.pacingInterval);
}

void Outlet::take(const EventPtr& event) {
    if (!isConnected())
        return;
    bool isWanted = false;
    try {
        isWanted = passes(event->body);
    } catch (const std::bad_alloc&) {
        // only this consumer has lost it
        lose(event);
    }
    if (isWanted)
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
    admin_->proxyDied(proxy_);
    kelp::util::traceFrom("notification", "consumer " + std::to_string(admin_->id) + "/" +
                                              std::to_string(proxy_) + " is given up: " + why);
}

}  // namespace kelp::notification
